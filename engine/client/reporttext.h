// The form of report keys, checked on both ways through the library.
#pragma once

#include <string>

namespace talo::client
{

// Whether a text has the form "2026-11-21 14:05:09".
bool isReportKey(const std::string &text);

// The key that a report's text names in its "Report:" line; empty if it names none.
std::string keyIn(const std::string &reportText);

// Makes a text fit for a list whose entries are joined by "," and whose fields by "#".
std::string listField(const std::string &text);

} // namespace talo::client
