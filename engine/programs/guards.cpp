#include "programs/guards.h"

#include "programs/printable.h"
#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

QVariant value(const QVariantMap &status, const char *key)
{
    return status.value(QLatin1String(key));
}

QString firewallState(const QVariantMap &status)
{
    const QString state = value(status, "firewall").toString();
    if (state == QLatin1String("on"))
        return Programs::tr("on, what nobody here asked for is kept out");
    if (state == QLatin1String("off"))
        return Programs::tr("off, the network may reach this computer");
    if (state == QLatin1String("altered"))
        return Programs::tr("in place, but not as this service has set it up");
    return Programs::tr("not known, only root's service is told");
}

} // namespace

QString firewallWords(const QVariantMap &status)
{
    QStringList words{firewallState(status)};
    QStringList others;
    for (const QString &name : value(status, "otherFirewalls").toStringList())
        others << printable(name);
    if (!others.isEmpty())
        words << Programs::tr("also at work: %1").arg(others.join(QLatin1String(", ")));
    if (!value(status, "guardsMachine").toBool())
        words << Programs::tr("this service cannot switch it");
    return words.join(QLatin1String("; "));
}

QString storageWords(const QVariantMap &status)
{
    const bool blocks = value(status, "usbFlag").toBool();
    QStringList words{blocks ? Programs::tr("blocked") : Programs::tr("full access")};
    words << Programs::tr("%1 plugged in and working, %2 blocked")
                 .arg(value(status, "usbOpen").toUInt())
                 .arg(value(status, "usbBlocked").toUInt());
    if (blocks && !value(status, "usbRule").toBool())
        words << Programs::tr("udev has no rule for it, so only while the service runs");
    return words.join(QLatin1String("; "));
}

QString driveWords(const QVariantMap &status)
{
    return value(status, "driveScan").toBool()
               ? Programs::tr("external drives are scanned when they are plugged in")
               : Programs::tr("external drives are not scanned when they are plugged in");
}

} // namespace talo::programs
