#include "engine/programs/agent/fakeengine.h"

#include "interface/busconnection.h"
#include "interface/names.h"

#include <QDBusMessage>
#include <QUuid>

namespace talo::tests
{

FakeEngine::FakeEngine(const QString &bus, Name name)
    : name_(name), bus_(interface::connectToBus(bus, QUuid::createUuid().toString()))
{
    bus_.registerObject(QString::fromLatin1(interface::kObject), this,
                        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAdaptors);
    if (name == Name::Owned)
        bus_.registerService(QString::fromLatin1(interface::kService));
}

FakeEngine::~FakeEngine()
{
    QDBusConnection::disconnectFromBus(bus_.name());
}

void FakeEngine::tellThreat(const QString &type, const QString &path, const QString &threat,
                            const QString &outcome) const
{
    tell(QStringLiteral("ThreatFound"), {type, path, threat, outcome});
}

void FakeEngine::tellEnd(const QString &type, uint state, const QString &scanned, quint64 files,
                         quint64 threats, const QString &report) const
{
    tell(QStringLiteral("ScanEnded"), {type, state, scanned, files, threats, report});
}

void FakeEngine::untilHeard() const
{
    for (const QString &listener : notices_->listeners())
        bus_.call(QDBusMessage::createMethodCall(listener, QStringLiteral("/"),
                                                 QStringLiteral("org.freedesktop.DBus.Peer"),
                                                 QStringLiteral("Ping")));
}

void FakeEngine::tellWrongly(const QString &signal) const
{
    tell(signal, {1, 2.0, QStringLiteral("three")});
}

void FakeEngine::tell(const QString &signal, const QVariantList &arguments) const
{
    const QString object = QString::fromLatin1(interface::kObject);
    const QString notices = QString::fromLatin1(interface::kNotices);
    if (name_ == Name::NotOwned)
        send(QDBusMessage::createSignal(object, notices, signal), arguments);
    for (const QString &listener : notices_->listeners())
        send(QDBusMessage::createTargetedSignal(listener, object, notices, signal), arguments);
}

void FakeEngine::send(QDBusMessage message, const QVariantList &arguments) const
{
    message.setArguments(arguments);
    bus_.send(message);
}

QVariantMap FakeEngine::GetStatus()
{
    ++asked_;
    return status_;
}

} // namespace talo::tests
