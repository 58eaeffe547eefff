#include "programs/guards.h"

#include "programs/printable.h"

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
        return QStringLiteral("on, what nobody here asked for is kept out");
    if (state == QLatin1String("off"))
        return QStringLiteral("off, the network may reach this computer");
    if (state == QLatin1String("altered"))
        return QStringLiteral("in place, but not as this service has set it up");
    return QStringLiteral("not known, only root's service is told");
}

} // namespace

QString firewallWords(const QVariantMap &status)
{
    QString words = firewallState(status);
    QStringList others;
    for (const QString &name : value(status, "otherFirewalls").toStringList())
        others << printable(name);
    if (!others.isEmpty())
        words += QStringLiteral("; also at work: ") + others.join(QStringLiteral(", "));
    if (!value(status, "guardsMachine").toBool())
        words += QStringLiteral("; this service cannot switch it");
    return words;
}

QString storageWords(const QVariantMap &status)
{
    const uint open = value(status, "usbOpen").toUInt();
    const uint blocked = value(status, "usbBlocked").toUInt();
    const auto plugged = [open, blocked] {
        return QStringLiteral("%1 plugged in and working, %2 blocked").arg(open).arg(blocked);
    };
    if (!value(status, "usbFlag").toBool())
        return QStringLiteral("full access; ") + plugged();
    QString words = QStringLiteral("blocked; ") + plugged();
    if (!value(status, "usbRule").toBool())
        words += QStringLiteral("; udev has no rule for it, so only while the service runs");
    return words;
}

QString driveWords(const QVariantMap &status)
{
    return value(status, "driveScan").toBool()
               ? QStringLiteral("external drives are scanned when they are plugged in")
               : QStringLiteral("external drives are not scanned when they are plugged in");
}

} // namespace talo::programs
