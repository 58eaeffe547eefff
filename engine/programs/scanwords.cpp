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
        return inWords("No threats found");
    return formatCount(progress.threats, "threat", "threats") + inWords(" found");
}

} // namespace

QString kindTitle(interface::ScanKind kind)
{
    switch (kind) {
    case interface::FullScan:
        return inWords("Full Scan");
    case interface::QuickScan:
        return inWords("Quick Scan");
    case interface::CustomScan:
        break;
    }
    return inWords("Custom Scan");
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
        return inWords("Nothing could be scanned.");
    const QString found = threatsSentence(progress);
    if (progress.state == interface::Finished)
        return found + QLatin1Char('.');
    const QString sofar = found + inWords(" until then.");
    if (progress.state == interface::Stopped)
        return inWords("The scan was stopped. ") + sofar;
    const QString reason = printable(progress.failure);
    const QString failed = reason.isEmpty() ? inWords("The scan failed. ")
                                            : inWords("The scan failed: %1. ").arg(reason);
    return QString(failed).replace(QLatin1String(".. "), QLatin1String(". ")) + sofar;
}

QString notScannedSentence(const interface::ScanProgress &progress)
{
    const quint64 count = filesNotScanned(progress);
    if (count == 0)
        return QString();
    return inWords("%1 not scanned: %2 skipped, %3 with errors.")
        .arg(formatCount(count, "file was", "files were"), formatCount(progress.skipped),
             formatCount(progress.errors));
}

ExitCode exitCode(const interface::ScanProgress &progress)
{
    if (progress.state != interface::Finished || nothingCouldBeScanned(progress))
        return ScanFailed;
    return progress.threats == 0 ? NoThreats : ThreatsFound;
}

} // namespace talo::programs
