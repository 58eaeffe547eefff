// talo-agent: started with the desktop session, it shows the desktop's notifications.
#include "programs/agent/agent.h"

#include "interface/busaddress.h"
#include "interface/busconnection.h"
#include "language/language.h"
#include "programs/words.h"
#include "taloversion.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDir>

namespace
{

using namespace talo;

constexpr char kName[] = "org.taloantivirus.Agent1";
constexpr int kFailed = 1;

// The service serves the whole machine, or this user alone. It may come up later than the session:
// so both are listened to, instead of looking where it is.
QStringList engineBuses(const QString &session)
{
    const QString named = qEnvironmentVariable("TALO_BUS");
    if (!named.isEmpty())
        return {interface::busAddress(named)};
    QStringList buses{interface::systemBusAddress(), session};
    buses.removeDuplicates();
    return buses;
}

QString stateFolder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (QDir::isAbsolutePath(state) ? state : QDir::homePath() + "/.local/state") +
           QStringLiteral("/taloantivirus");
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("talo-agent"));
    QCoreApplication::setApplicationVersion(QStringLiteral(TALO_VERSION));
    useUserLanguage();
    QCommandLineParser parser;
    parser.setApplicationDescription(programs::Programs::tr(
        "Shows notifications of what TALO Antivirus finds and does in the background."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(application);

    const QString address = interface::sessionBusAddress();
    if (address.isEmpty()) {
        qCritical("There is no session bus, and so nobody to notify.");
        return kFailed;
    }
    QDBusConnection session = interface::connectToBus(address, QStringLiteral("desktop"));
    if (!session.isConnected()) {
        qCritical("The session bus cannot be reached: %s",
                  qUtf8Printable(session.lastError().message()));
        return kFailed;
    }
    if (!session.registerService(QString::fromLatin1(kName))) {
        qInfo("An agent runs in this session already.");
        return 0;
    }
    session.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                    QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"),
                    &application, SLOT(quit()));
    const programs::Agent agent(session, engineBuses(address),
                                stateFolder() + QStringLiteral("/signatures-told"));
    return QCoreApplication::exec();
}
