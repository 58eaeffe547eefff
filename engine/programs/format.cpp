#include "programs/format.h"

#include "programs/words.h"

#include <array>

namespace talo::programs
{

namespace
{

QString joined(quint64 large, const QString &largeUnit, quint64 small, const QString &smallUnit)
{
    QString text = QString::number(large) + largeUnit;
    if (small > 0)
        text += QLatin1Char(' ') + QString::number(small) + smallUnit;
    return text;
}

} // namespace

QString formatCount(quint64 count)
{
    QString text = QString::number(count);
    for (int position = text.size() - 3; position > 0; position -= 3)
        text.insert(position, QLatin1Char(','));
    return text;
}

QString formatCount(quint64 count, const char *one, const char *many)
{
    return formatCount(count) + QLatin1Char(' ') + inWords(count == 1 ? one : many);
}

QString formatBytes(quint64 bytes)
{
    if (bytes < 1000)
        return formatCount(bytes, "byte", "bytes");
    static constexpr std::array<const char *, 6> kUnits{"KB", "MB", "GB", "TB", "PB", "EB"};
    quint64 unit = 1000;
    std::size_t index = 0;
    // A value that would be rounded up to 1000 of its unit is one of the next: "1.0 MB".
    while (index + 1 < kUnits.size() && bytes >= unit * 1000 - unit / 2) {
        unit *= 1000;
        ++index;
    }
    // Divided first, since the largest sizes times ten do not fit.
    const quint64 tenths = bytes / unit * 10 + (bytes % unit / (unit / 1000) + 50) / 100;
    const QString name = QLatin1Char(' ') + QLatin1String(kUnits[index]);
    if (tenths < 1000)
        return QString::number(tenths / 10) + QLatin1Char('.') + QString::number(tenths % 10) +
               name;
    return QString::number(bytes / unit + (bytes % unit >= unit / 2 ? 1 : 0)) + name;
}

QString formatDuration(quint64 milliseconds)
{
    const quint64 seconds = milliseconds / 1000;
    const quint64 minutes = seconds / 60;
    const quint64 hours = minutes / 60;
    const quint64 days = hours / 24;
    if (days > 0)
        return joined(days, QLatin1String(days == 1 ? " day" : " days"), hours % 24,
                      QStringLiteral(" h"));
    if (hours > 0)
        return joined(hours, QStringLiteral(" h"), minutes % 60, QStringLiteral(" min"));
    if (minutes > 0)
        return joined(minutes, QStringLiteral(" min"), seconds % 60, QStringLiteral(" s"));
    return QString::number(seconds) + QLatin1String(" s");
}

} // namespace talo::programs
