#include "programs/progressline.h"

#include "interface/names.h"
#include "programs/columns.h"
#include "programs/format.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr int kShortestPath = 12;
constexpr char kGap[] = "  ";

QString stateWords(const interface::ScanProgress &progress)
{
    switch (progress.state) {
    case interface::Preparing:
        return Programs::tr("Loading signatures");
    case interface::Paused:
        return Programs::tr("Paused");
    case interface::Stopping:
        return Programs::tr("Stopping");
    default:
        break;
    }
    const int percent = percentDone(progress);
    return percent < 0 ? Programs::tr("Scanning") : QStringLiteral("%1%").arg(percent, 3);
}

} // namespace

QString progressLine(const interface::ScanProgress &progress, int columns)
{
    QStringList parts{stateWords(progress)};
    if (progress.state != interface::Preparing) {
        parts << formatFiles(filesScanned(progress)) << formatBytes(progress.bytesDone)
              << formatThreats(progress.threats);
        if (progress.remainingMs >= 0)
            parts << Programs::tr("%1 left").arg(
                formatDuration(static_cast<quint64>(progress.remainingMs)));
    }
    const QLatin1String gap(kGap);
    QString line = elidedMiddle(parts.join(gap), columns);
    const int room = columns - columnsOf(line) - gap.size();
    if (room >= kShortestPath && !progress.current.isEmpty())
        line += gap + elidedMiddle(printable(progress.current), room);
    return line;
}

} // namespace talo::programs
