// Writing a report into a folder of the user's choice, with the rights of the calling process.
#pragma once

#include <string>

namespace talo::client
{

// The file is named after the key in the text ("TALO Report 2026-11-21 14-05-09.txt", without a
// key "TALO Report.txt") and gets a number where a file of that name exists. False: nothing was
// left behind.
bool saveReport(const std::string &folder, const std::string &text);

} // namespace talo::client
