#include "programs/agent/enginelink.h"

#include "client/bus.h"
#include "interface/busconnection.h"
#include "interface/names.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

namespace talo::programs
{

namespace
{

constexpr std::chrono::seconds kReopenAfter{30};

} // namespace

EngineLink::EngineLink(const QString &address, QObject *parent)
    : QObject(parent), address_(address), bus_(QString())
{
    reopen_.setSingleShot(true);
    reopen_.setInterval(kReopenAfter);
    connect(&reopen_, &QTimer::timeout, this, &EngineLink::open);
}

EngineLink::~EngineLink()
{
    QDBusConnection::disconnectFromBus(bus_.name());
}

void EngineLink::setReopenAfter(std::chrono::milliseconds pause)
{
    reopen_.setInterval(pause);
}

void EngineLink::open()
{
    const QString name = QStringLiteral("talo-engine-") + address_;
    bus_ = interface::connectToBus(address_, name);
    if (!bus_.isConnected()) {
        QDBusConnection::disconnectFromBus(name);
        reopen_.start();
        return;
    }
    const QString service = QString::fromLatin1(interface::kService);
    const QString object = QString::fromLatin1(interface::kObject);
    const QString notices = QString::fromLatin1(interface::kNotices);
    bus_.connect(service, object, notices, QStringLiteral("ThreatFound"), QStringLiteral("ssss"),
                 this, SLOT(receiveThreat(QString, QString, QString, QString)));
    bus_.connect(service, object, notices, QStringLiteral("ScanEnded"), QStringLiteral("sustts"),
                 this, SLOT(receiveEnd(QString, uint, QString, qulonglong, qulonglong, QString)));
    bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SLOT(lost()));
    auto *watcher =
        new QDBusServiceWatcher(service, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &EngineLink::ownerChanged);
    watcher_ = watcher;
    greet();
}

void EngineLink::greet()
{
    if (!bus_.isConnected())
        return;
    ask(interface::kNotices, "Listen", [](const QDBusPendingCall &answer) {
        const QDBusError error = answer.error();
        if (error.isValid() && error.type() != QDBusError::ServiceUnknown)
            qWarning("The service tells of nothing: %s", qUtf8Printable(error.message()));
    });
    ask(interface::kStatus, "GetStatus", [this](const QDBusPendingCall &answer) {
        const QDBusPendingReply<QVariantMap> reply = answer;
        if (!reply.isError())
            emit status(reply.value());
    });
}

void EngineLink::ask(const char *interface, const char *method,
                     const std::function<void(const QDBusPendingCall &)> &answered)
{
    QDBusMessage question = client::Bus::message(interface, method);
    question.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(
        bus_.asyncCall(question, static_cast<int>(client::Bus::kPatience.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [answer, answered] {
        answer->deleteLater();
        answered(*answer);
    });
}

void EngineLink::receiveThreat(const QString &type, const QString &path, const QString &threat,
                               const QString &outcome)
{
    emit threatFound(type, {path, threat, outcome});
}

void EngineLink::receiveEnd(const QString &type, uint state, const QString &scanned,
                            qulonglong files, qulonglong threats, const QString &report)
{
    emit scanEnded({type, state, scanned, files, threats, report});
}

void EngineLink::ownerChanged(const QString & /*service*/, const QString &before,
                              const QString &after)
{
    if (!before.isEmpty())
        emit serviceGone();
    if (!after.isEmpty())
        greet();
}

void EngineLink::lost()
{
    delete watcher_;
    watcher_ = nullptr;
    QDBusConnection::disconnectFromBus(bus_.name());
    emit serviceGone();
    reopen_.start();
}

} // namespace talo::programs
