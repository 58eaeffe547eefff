// Where the message buses of this machine and of this session listen.
#pragma once

#include <QString>

namespace talo::interface
{

QString systemBusAddress();

// Empty when no session bus runs. libdbus would launch one by itself if it were asked for "the
// session bus": a scan in a terminal must not leave a bus behind.
QString sessionBusAddress();

// The address that "system", "session" or an address itself stands for.
QString busAddress(const QString &name);

} // namespace talo::interface
