// The service's log: one line an event, on standard error, where the journal picks it up.
#pragma once

#include <string>

namespace talo::service
{

enum class Level { Error = 3, Warning = 4, Info = 6 };

// The text must be printable. Any thread.
void log(Level level, const std::string &text);

// Sends the messages of Qt's own code there too.
void logQtMessages();

} // namespace talo::service
