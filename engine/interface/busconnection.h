// Connections to message buses.
#pragma once

#include <QDBusConnection>

namespace talo::interface
{

// A connection of this name to the bus at `address`. What failed is in its lastError().
//
// In its own thread Qt notes the unique name that a bus gives to each newcomer, while every call
// looks into those notes under a lock that does not keep that thread out. Nobody gets the
// connection before the name has come.
QDBusConnection connectToBus(const QString &address, const QString &name);

} // namespace talo::interface
