#include "engine/service/privatebus.h"

#include "interface/busconnection.h"
#include "interface/names.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <QTest>

#include <csignal>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

Program::~Program()
{
    if (state() == QProcess::NotRunning)
        return;
    kill();
    waitForFinished();
}

void Program::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (uid_ != 0 && (setgroups(0, nullptr) != 0 || setgid(uid_) != 0 || setuid(uid_) != 0))
        _exit(127);
}

PrivateBus::PrivateBus()
{
    // The socket's folder lets other users through.
    chmod(QFile::encodeName(folder_.path()).constData(), 0755);
    const QString config = folder_.filePath(QStringLiteral("bus.conf"));
    QFile file(config);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(
        QStringLiteral("<busconfig><type>session</type><listen>unix:path=%1/bus</listen>"
                       "<auth>EXTERNAL</auth><policy context='default'><allow user='*'/>"
                       "<allow send_destination='*'/><allow receive_sender='*'/><allow own='*'/>"
                       "</policy></busconfig>")
            .arg(folder_.path())
            .toUtf8());
    file.close();
    daemon_ = std::make_unique<Program>();
    daemon_->start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
    // The address is printed once the socket listens.
    while (daemon_->waitForReadyRead(10000) && !daemon_->canReadLine()) {
    }
    if (daemon_->canReadLine())
        address_ = QString::fromLatin1(daemon_->readLine()).trimmed();
}

QDBusConnection PrivateBus::connect(const QString &name) const
{
    QDBusConnection::disconnectFromBus(name);
    return talo::interface::connectToBus(address_, name);
}

bool PrivateBus::owned() const
{
    return connect(QStringLiteral("watch"))
        .interface()
        ->isServiceRegistered(QString::fromLatin1(talo::interface::kService))
        .value();
}

void PrivateBus::stop()
{
    daemon_->terminate();
    daemon_->waitForFinished();
}

QString built(const QString &path)
{
    return qEnvironmentVariable("TALO_BUILD_DIR") + QLatin1Char('/') + path;
}

std::unique_ptr<Program> startService(const PrivateBus &bus, const QString &state,
                                      const QStringList &options)
{
    auto service = std::make_unique<Program>();
    service->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    service->start(
        built(QStringLiteral("bin/talod")),
        QStringList{QStringLiteral("--bus"), bus.address(), QStringLiteral("--state"), state} +
            options);
    const auto gone = [&service] { return service->state() == QProcess::NotRunning; };
    if (!QTest::qWaitFor([&] { return gone() || bus.owned(); }, 10000) || gone())
        return nullptr;
    return service;
}

QDBusMessage ask(const QDBusConnection &bus, const char *interface, const char *method,
                 const QVariantList &arguments)
{
    QDBusMessage question =
        QDBusMessage::createMethodCall(QString::fromLatin1(talo::interface::kService),
                                       QString::fromLatin1(talo::interface::kObject),
                                       QString::fromLatin1(interface), QString::fromLatin1(method));
    question.setArguments(arguments);
    return bus.call(question);
}
