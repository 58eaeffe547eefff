#include "interface/busaddress.h"

#include <cstdlib>
#include <sys/stat.h>

namespace talo::interface
{

namespace
{

QString environment(const char *name)
{
    const char *value = std::getenv(name);
    return value == nullptr ? QString() : QString::fromLocal8Bit(value);
}

} // namespace

QString systemBusAddress()
{
    const QString address = environment("DBUS_SYSTEM_BUS_ADDRESS");
    return address.isEmpty() ? QStringLiteral("unix:path=/var/run/dbus/system_bus_socket")
                             : address;
}

QString sessionBusAddress()
{
    const QString address = environment("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address.startsWith(QLatin1String("autolaunch:")) ? QString() : address;
    const QString runtime = environment("XDG_RUNTIME_DIR");
    if (runtime.isEmpty())
        return QString();
    const QString path = runtime + QLatin1String("/bus");
    struct stat status {
    };
    if (stat(path.toLocal8Bit().constData(), &status) != 0 || !S_ISSOCK(status.st_mode))
        return QString();
    return QLatin1String("unix:path=") + path;
}

QString busAddress(const QString &name)
{
    if (name == QLatin1String("system"))
        return systemBusAddress();
    if (name == QLatin1String("session"))
        return sessionBusAddress();
    return name;
}

} // namespace talo::interface
