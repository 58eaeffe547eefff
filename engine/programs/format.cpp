#include "programs/format.h"

#include "programs/words.h"

#include <array>

namespace talo::programs
{

namespace
{

// The form of a language's plural follows from the last digits; so much of a number says the same.
int pluralOf(quint64 count)
{
    constexpr quint64 kMillion = 1000000;
    return static_cast<int>(count < kMillion ? count : kMillion + count % kMillion);
}

// The two largest units of a duration, the smaller one only where there is any of it.
QString joined(const QString &large, quint64 small, const QString &smallText)
{
    return small > 0 ? large + QLatin1Char(' ') + smallText.arg(small) : large;
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
    const QString text = Programs::tr(many, nullptr, pluralOf(count));
    const bool untranslated = text == QLatin1String(many);
    return (count == 1 && untranslated ? QString::fromLatin1(one) : text).arg(formatCount(count));
}

QString formatBytes(quint64 bytes)
{
    if (bytes < 1000)
        return formatCount(bytes, "%1 byte", QT_TRANSLATE_N_NOOP("Programs", "%1 bytes"));
    static constexpr std::array<const char *, 6> kUnits{
        QT_TRANSLATE_NOOP("Programs", "%1 KB"), QT_TRANSLATE_NOOP("Programs", "%1 MB"),
        QT_TRANSLATE_NOOP("Programs", "%1 GB"), QT_TRANSLATE_NOOP("Programs", "%1 TB"),
        QT_TRANSLATE_NOOP("Programs", "%1 PB"), QT_TRANSLATE_NOOP("Programs", "%1 EB")};
    quint64 unit = 1000;
    std::size_t index = 0;
    // A value that would be rounded up to 1000 of its unit is one of the next: "1.0 MB".
    while (index + 1 < kUnits.size() && bytes >= unit * 1000 - unit / 2) {
        unit *= 1000;
        ++index;
    }
    // Divided first, since the largest sizes times ten do not fit.
    const quint64 tenths = bytes / unit * 10 + (bytes % unit / (unit / 1000) + 50) / 100;
    const QString text = Programs::tr(kUnits[index]);
    if (tenths < 1000)
        return text.arg(QString::number(tenths / 10) + QLatin1Char('.') +
                        QString::number(tenths % 10));
    return text.arg(bytes / unit + (bytes % unit >= unit / 2 ? 1 : 0));
}

QString formatDays(quint64 days)
{
    return formatCount(days, "%1 day", QT_TRANSLATE_N_NOOP("Programs", "%1 days"));
}

QString formatFiles(quint64 files)
{
    return formatCount(files, "%1 file", QT_TRANSLATE_N_NOOP("Programs", "%1 files"));
}

QString formatThreats(quint64 threats)
{
    return formatCount(threats, "%1 threat", QT_TRANSLATE_N_NOOP("Programs", "%1 threats"));
}

QString formatDuration(quint64 milliseconds)
{
    const quint64 seconds = milliseconds / 1000;
    const quint64 minutes = seconds / 60;
    const quint64 hours = minutes / 60;
    const quint64 days = hours / 24;
    if (days > 0)
        return joined(formatDays(days), hours % 24, Programs::tr("%1 h"));
    if (hours > 0)
        return joined(Programs::tr("%1 h").arg(hours), minutes % 60, Programs::tr("%1 min"));
    if (minutes > 0)
        return joined(Programs::tr("%1 min").arg(minutes), seconds % 60, Programs::tr("%1 s"));
    return Programs::tr("%1 s").arg(seconds);
}

} // namespace talo::programs
