#include "programs/signatures.h"

#include "programs/format.h"
#include "programs/printable.h"
#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr qint64 kSecondsOfDay = qint64{24} * 60 * 60;
constexpr qint64 kOldDays = 7;

QString ageWords(qint64 days)
{
    if (days == 0)
        return Programs::tr("less than a day old");
    return formatCount(static_cast<quint64>(days), "%1 day old",
                       QT_TRANSLATE_N_NOOP("Programs", "%1 days old"));
}

} // namespace

SignatureWords describeSignatures(const QVariantMap &status, const QDateTime &now)
{
    const QString set = printable(status.value(QStringLiteral("signatureSet")).toString());
    if (set.isEmpty())
        return {Programs::tr("not known"),
                Programs::tr("The service did not say which signatures it scans with.")};

    QStringList parts{Programs::tr("%1 set").arg(set)};
    const QString version = printable(status.value(QStringLiteral("signatureVersion")).toString());
    if (!version.isEmpty())
        parts << Programs::tr("version %1").arg(version);
    const qint64 time = status.value(QStringLiteral("signatureTime")).toLongLong();
    // A clock that was set back does not make signatures from the future.
    const qint64 days = qMax<qint64>(0, now.toSecsSinceEpoch() - time) / kSecondsOfDay;
    parts << (time > 0 ? ageWords(days) : Programs::tr("of unknown age"));
    const quint64 count = status.value(QStringLiteral("signatureCount")).toULongLong();
    if (count > 0)
        parts << formatCount(count, "%1 signature",
                             QT_TRANSLATE_N_NOOP("Programs", "%1 signatures"));

    QString advice;
    if (set == QLatin1String("built-in"))
        advice = Programs::tr("The built-in set knows little more than test files. Update the "
                              "signatures to find current malware.");
    else if (time <= 0)
        advice = Programs::tr("The age of the signatures is not known. Update them to be sure.");
    else if (days > kOldDays)
        advice = Programs::tr("The signatures are %1. Update them to find current malware.")
                     .arg(ageWords(days));
    return {parts.join(QLatin1String(", ")), advice};
}

} // namespace talo::programs
