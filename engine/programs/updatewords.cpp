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
        return Programs::tr("Preparing");
    case interface::UpdateDownloading:
        return Programs::tr("Downloading");
    case interface::UpdateChecking:
        return Programs::tr("Checking the new signatures");
    default:
        break;
    }
    return Programs::tr("Installing");
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
        parts << Programs::tr("%1 of %2")
                     .arg(bytes(progress.total - progress.remaining), bytes(progress.total));
        if (progress.speed > 0)
            parts << Programs::tr("%1/s").arg(bytes(progress.speed));
    }
    return parts.join(QLatin1String("  "));
}

QString updateOutcome(const interface::UpdateProgress &progress)
{
    switch (progress.status) {
    case interface::UpdateDone:
        return Programs::tr("The signatures were updated.");
    case interface::UpdateLatest:
        return Programs::tr("The signatures are the latest already.");
    case interface::UpdateStopped:
        return Programs::tr("The update was stopped. The signatures are as they were.");
    default:
        break;
    }
    QString reason = printable(progress.detail);
    if (reason.isEmpty())
        return Programs::tr("The update failed.");
    if (reason.endsWith(QLatin1Char('.')))
        reason.chop(1);
    return Programs::tr("The update failed: %1.").arg(reason);
}

bool isGoodUpdate(uint status)
{
    return status == interface::UpdateDone || status == interface::UpdateLatest;
}

} // namespace talo::programs
