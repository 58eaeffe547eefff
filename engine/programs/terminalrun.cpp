#include "programs/terminalrun.h"

#include "language/language.h"
#include "programs/console.h"
#include "programs/stopsignals.h"
#include "programs/terminalscan.h"
#include "programs/words.h"

#include <QCoreApplication>
#include <QTimer>

#include <clocale>
#include <csignal>

namespace talo::programs
{

int runTerminalScans(const QList<ScanRequest> &requests)
{
    Console console;
    TerminalScan scan(requests, console);
    const StopSignals signalsOfUser;
    QObject::connect(&signalsOfUser, &StopSignals::asked, &scan, &TerminalScan::stop);
    QObject::connect(&scan, &TerminalScan::done, &QCoreApplication::exit);
    QTimer::singleShot(0, &scan, &TerminalScan::start);
    return QCoreApplication::exec();
}

void sayBeforeStart(char **argv, std::FILE *file, const char *text)
{
    int one = 1;
    const QCoreApplication application(one, argv);
    useUserLanguage();
    std::fputs(Programs::tr(text).toUtf8().constData(), file);
}

void ignoreBrokenPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

} // namespace talo::programs
