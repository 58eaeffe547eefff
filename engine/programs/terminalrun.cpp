#include "programs/terminalrun.h"

#include "programs/console.h"
#include "programs/stopsignals.h"
#include "programs/terminalscan.h"

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

void ignoreBrokenPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

void useUtf8()
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
}

} // namespace talo::programs
