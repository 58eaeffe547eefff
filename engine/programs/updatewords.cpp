#include "programs/updatewords.h"

#include "interface/names.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr quint64 kKilobyte = 1024;

QString phase(uint status)
{
    switch (status) {
    case interface::UpdatePreparing:
        return inWords("Preparing");
    case interface::UpdateDownloading:
        return inWords("Downloading");
    case interface::UpdateChecking:
        return inWords("Checking the new signatures");
    default:
        break;
    }
    return inWords("Installing");
}

QString bytes(qlonglong kilobytes)
{
    return formatBytes(static_cast<quint64>(kilobytes) * kKilobyte);
}

} // namespace

QString updateLine(const interface::UpdateProgress &progress)
{
    QStringList parts{phase(progress.status),
                      QStringLiteral("%1%").arg(static_cast<int>(progress.percentage), 3)};
    if (progress.status == interface::UpdateDownloading && progress.total > 0) {
        parts << bytes(progress.total - progress.remaining) + inWords(" of ") +
                     bytes(progress.total);
        if (progress.speed > 0)
            parts << bytes(progress.speed) + QLatin1String("/s");
    }
    return parts.join(QLatin1String("  "));
}

QString updateOutcome(const interface::UpdateProgress &progress)
{
    switch (progress.status) {
    case interface::UpdateDone:
        return inWords("The signatures were updated.");
    case interface::UpdateLatest:
        return inWords("The signatures are the latest already.");
    case interface::UpdateStopped:
        return inWords("The update was stopped. The signatures are as they were.");
    default:
        break;
    }
    QString words = inWords("The update failed");
    if (!progress.detail.isEmpty())
        words += QLatin1String(": ") + printable(progress.detail);
    return words.endsWith(QLatin1Char('.')) ? words : words + QLatin1Char('.');
}

bool isGoodUpdate(uint status)
{
    return status == interface::UpdateDone || status == interface::UpdateLatest;
}

} // namespace talo::programs
