// FullScan, QuickScan and CustomScan: one scan in a window, or in the terminal without a display.
#include "programs/display.h"
#include "programs/scanrequest.h"
#include "programs/scanwords.h"
#include "programs/terminalrun.h"
#include "programs/windowrun.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{

QList<QByteArray> arguments(int argc, char **argv)
{
    QList<QByteArray> list;
    for (int index = 0; index < argc; ++index)
        list << QByteArray(argv[index]);
    return list;
}

} // namespace

int main(int argc, char **argv)
{
    using namespace talo::programs;
    ignoreBrokenPipes();

    const QList<QByteArray> given = arguments(argc, argv);
    if (given.size() == 2 && given.at(1) == "--help") {
        std::fputs(scanUsage().toUtf8().constData(), stdout);
        return 0;
    }
    const ParsedRequest parsed = parseScanArguments(given);
    if (!parsed.request) {
        std::fputs((parsed.problem + QLatin1Char('\n') + scanUsage()).toUtf8().constData(), stderr);
        return ScanFailed;
    }

    int one = 1; // the rest is ours, not options of Qt's
    if (findDisplay())
        return runScanWindow(one, argv, *parsed.request);
    QCoreApplication application(one, argv);
    useUtf8();
    return runTerminalScans({*parsed.request});
}
