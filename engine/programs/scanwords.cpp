#include "programs/scanwords.h"

#include "programs/format.h"
#include "programs/printable.h"
#include "programs/words.h"

namespace talo::programs
{

namespace
{

QString threatsSentence(const interface::ScanProgress &progress)
{
    if (progress.threats == 0)
        return Programs::tr("No threats found.");
    return formatCount(progress.threats, "%1 threat found.",
                       QT_TRANSLATE_N_NOOP("Programs", "%1 threats found."));
}

QString threatsUntilThen(const interface::ScanProgress &progress)
{
    if (progress.threats == 0)
        return Programs::tr("No threats found until then.");
    return formatCount(progress.threats, "%1 threat found until then.",
                       QT_TRANSLATE_N_NOOP("Programs", "%1 threats found until then."));
}

} // namespace

QString kindTitle(interface::ScanKind kind)
{
    switch (kind) {
    case interface::FullScan:
        return Programs::tr("Full Scan");
    case interface::QuickScan:
        return Programs::tr("Quick Scan");
    case interface::CustomScan:
        break;
    }
    return Programs::tr("Custom Scan");
}

quint64 filesScanned(const interface::ScanProgress &progress)
{
    return quint64{progress.clean} + progress.threats;
}

quint64 filesNotScanned(const interface::ScanProgress &progress)
{
    return quint64{progress.skipped} + progress.errors;
}

bool nothingCouldBeScanned(const interface::ScanProgress &progress)
{
    return progress.state == interface::Finished && filesScanned(progress) == 0 &&
           filesNotScanned(progress) > 0;
}

int percentDone(const interface::ScanProgress &progress)
{
    if (progress.state == interface::Finished)
        return 100;
    // Bytes tell the time better than files, where there are any.
    const bool byBytes = progress.bytesTotal > 0;
    const auto total =
        static_cast<long double>(byBytes ? progress.bytesTotal : progress.filesTotal);
    const auto done = static_cast<long double>(byBytes ? progress.bytesDone : progress.filesDone);
    if (progress.filesTotal == 0)
        return -1;
    return static_cast<int>(qMin(99.0L, done * 100 / total));
}

QString verdictSentence(const interface::ScanProgress &progress)
{
    if (nothingCouldBeScanned(progress))
        return Programs::tr("Nothing could be scanned.");
    if (progress.state == interface::Finished)
        return threatsSentence(progress);
    if (progress.state == interface::Stopped)
        return Programs::tr("The scan was stopped. %1").arg(threatsUntilThen(progress));
    QString reason = printable(progress.failure);
    if (reason.isEmpty())
        return Programs::tr("The scan failed. %1").arg(threatsUntilThen(progress));
    if (reason.endsWith(QLatin1Char('.')))
        reason.chop(1);
    return Programs::tr("The scan failed: %1. %2").arg(reason, threatsUntilThen(progress));
}

QString notScannedSentence(const interface::ScanProgress &progress)
{
    const quint64 count = filesNotScanned(progress);
    if (count == 0)
        return QString();
    return formatCount(count, "%1 file was not scanned: %2 skipped, %3 with errors.",
                       QT_TRANSLATE_N_NOOP(
                           "Programs", "%1 files were not scanned: %2 skipped, %3 with errors."))
        .arg(formatCount(progress.skipped), formatCount(progress.errors));
}

ExitCode exitCode(const interface::ScanProgress &progress)
{
    if (progress.state != interface::Finished || nothingCouldBeScanned(progress))
        return ScanFailed;
    return progress.threats == 0 ? NoThreats : ThreatsFound;
}

} // namespace talo::programs
