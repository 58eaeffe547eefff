// talod: the service behind TALO Antivirus.
#include "schedule/power.h"
#include "service/log.h"
#include "service/paths.h"
#include "service/service.h"
#include "taloversion.h"
#include "update/releasekey.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{

using namespace talo::service;

int wakeUp[2] = {-1, -1};

extern "C" void onSignal(int)
{
    const int before = errno;
    const ssize_t ignored = write(wakeUp[1], "", 1);
    static_cast<void>(ignored);
    errno = before;
}

// The handler only wakes the event loop: closing scans and storing reports is not for a handler.
bool catchSignals()
{
    if (pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    struct sigaction action {
    };
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        if (sigaction(number, &action, nullptr) != 0)
            return false;
    // Whoever read the log may have gone; the scans go on.
    return std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
}

// A full scan holds many files open at once.
void raiseFileLimit()
{
    constexpr rlim_t kWanted = 65536;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    // Root may raise the hard limit too, unless it is root of a container only.
    const rlimit more{kWanted, kWanted};
    if (geteuid() == 0 && limit.rlim_max < kWanted && setrlimit(RLIMIT_NOFILE, &more) == 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
        log(Level::Warning, "cannot raise the limit of open files");
}

std::string pathOption(const QCommandLineParser &parser, const QString &name,
                       const std::string &otherwise)
{
    return parser.isSet(name) ? parser.value(name).toLocal8Bit().toStdString() : otherwise;
}

// A drive that does not answer may hold a scan for ever. The next start closes its report as
// interrupted, which is better than being killed for not ending.
void endInTime(int code)
{
    constexpr std::chrono::seconds kEndTime{10};
    try {
        std::thread([code, kEndTime] {
            std::this_thread::sleep_for(kEndTime);
            log(Level::Warning,
                "not every scan ended in time; the next start closes their reports");
            std::_Exit(code);
        }).detach();
    } catch (const std::system_error &error) {
        log(Level::Warning, std::string("the time to end cannot be limited: ") + error.what());
    }
}

} // namespace

int main(int argc, char *argv[])
{
    umask(S_IRWXG | S_IRWXO);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("talod"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TALO_VERSION));
    logQtMessages();

    const QString bus = QStringLiteral("bus");
    const QString state = QStringLiteral("state");
    const QString configuration = QStringLiteral("config");
    const QString signatures = QStringLiteral("signatures");
    const QString worker = QStringLiteral("worker");
    const QString clock = QStringLiteral("schedule-clock");
    const QString power = QStringLiteral("power-supplies");
    const QString guard = QStringLiteral("guard");
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("The service behind TALO Antivirus: scans on request and keeps reports."));
    parser.addOptions({
        {bus,
         QStringLiteral("Bus to serve on: system (root's default), session (anybody else's) "
                        "or an address."),
         QStringLiteral("bus")},
        {state, QStringLiteral("Folder for reports and the quarantine."), QStringLiteral("folder")},
        {configuration, QStringLiteral("The administrator's configuration file."),
         QStringLiteral("file")},
        {signatures, QStringLiteral("Folder with the signatures to use."),
         QStringLiteral("folder")},
        {worker, QStringLiteral("The scan worker program."), QStringLiteral("program")},
        {clock,
         QStringLiteral("For trials: schedules go by a clock that begins at this moment, in "
                        "seconds since 1970, and goes so many times as fast."),
         QStringLiteral("moment*rate")},
        {power, QStringLiteral("Folder of the kernel's power supply class."),
         QStringLiteral("folder")},
        {guard, QStringLiteral("Enforce the settings of firewall and USB storage on this machine, "
                               "also on a bus that is not the system's. Needs root.")},
    });
    parser.addHelpOption();
    parser.addVersionOption();
    if (!parser.parse(QCoreApplication::arguments()) || !parser.positionalArguments().isEmpty()) {
        log(Level::Error, parser.errorText().isEmpty() ? "takes no arguments, only options"
                                                       : parser.errorText().toStdString());
        return WrongUse;
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(Done);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();

    if (!catchSignals()) {
        log(Level::Error, "cannot catch signals");
        return CannotStart;
    }
    raiseFileLimit();
    const bool root = geteuid() == 0;
    const QString place =
        parser.isSet(bus) ? parser.value(bus) : QString::fromLatin1(root ? "system" : "session");
    Options options;
    options.bus = place;
    options.state = pathOption(parser, state, defaultStateFolder());
    options.signatures = pathOption(parser, signatures, std::string());
    options.worker = pathOption(parser, worker, defaultWorkerProgram());
    options.configuration = pathOption(parser, configuration, defaultConfigurationFile());
    options.scheduleClock = parser.value(clock).toStdString();
    options.powerSupplies = pathOption(parser, power, talo::schedule::kPowerSupplies);
    // One machine, one guard: of several services it is the one that serves all users.
    options.guardsMachine = root && (place == QLatin1String("system") || parser.isSet(guard));
    options.releaseKey = talo::update::releaseKey();
    Service service(options);
    const QSocketNotifier stop(wakeUp[0], QSocketNotifier::Read);
    QObject::connect(&stop, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    const ExitCode code = service.start();
    if (code == Done)
        QCoreApplication::exec();
    endInTime(code);
    service.stop();
    // Everything worth keeping is on disk, and the workers end with this process. To wait for a
    // large signature set that is being loaded just now would be for nothing.
    std::_Exit(code);
}
