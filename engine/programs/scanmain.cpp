// FullScan, QuickScan and CustomScan: one scan in a window, or in the terminal without a display.
#include "language/language.h"
#include "programs/display.h"
#include "programs/scanrequest.h"
#include "programs/scanwords.h"
#include "programs/terminalrun.h"
#include "programs/windowrun.h"

#include <QCoreApplication>

#include <cstdio>

namespace
{

using namespace talo::programs;

QList<QByteArray> arguments(int argc, char **argv)
{
    QList<QByteArray> list;
    for (int index = 0; index < argc; ++index)
        list << QByteArray(argv[index]);
    return list;
}

int showHelp(int &argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    talo::useUserLanguage();
    std::fputs(scanUsage().toUtf8().constData(), stdout);
    return 0;
}

// Looks at the arguments once more, now that there is a language to explain them in.
int showProblem(int &argc, char **argv, const QList<QByteArray> &given)
{
    const QCoreApplication application(argc, argv);
    talo::useUserLanguage();
    const QString problem = parseScanArguments(given).problem;
    std::fputs((problem + QLatin1Char('\n') + scanUsage()).toUtf8().constData(), stderr);
    return ScanFailed;
}

} // namespace

int main(int argc, char **argv)
{
    ignoreBrokenPipes();

    const QList<QByteArray> given = arguments(argc, argv);
    const bool help = given.size() == 2 && given.at(1) == "--help";
    const ParsedRequest parsed = help ? ParsedRequest() : parseScanArguments(given);
    int one = 1; // the rest is ours, not options of Qt's
    if (!parsed.request)
        return help ? showHelp(one, argv) : showProblem(one, argv, given);
    if (findDisplay())
        return runScanWindow(one, argv, *parsed.request);
    QCoreApplication application(one, argv);
    talo::useUserLanguage();
    useUtf8();
    return runTerminalScans({*parsed.request});
}
