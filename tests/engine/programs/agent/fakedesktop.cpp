#include "engine/programs/agent/fakedesktop.h"

#include "interface/busconnection.h"

#include <QDBusConnectionInterface>
#include <QUuid>

#include <utility>

namespace talo::tests
{

FakeDesktop::FakeDesktop(const QString &bus, const QStringList &capabilities, uint firstId)
    : bus_(interface::connectToBus(bus, QUuid::createUuid().toString()))
    , capabilities_(capabilities)
    , nextId_(firstId)
{
    bus_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                        QDBusConnection::ExportScriptableContents);
    bus_.registerService(QStringLiteral("org.freedesktop.Notifications"));
}

FakeDesktop::~FakeDesktop()
{
    QDBusConnection::disconnectFromBus(bus_.name());
}

void FakeDesktop::invoke(uint id, const QString &action)
{
    emit ActionInvoked(id, action);
}

void FakeDesktop::close(uint id)
{
    emit NotificationClosed(id, 2);
    // What others tell the listener from here on comes after it.
    bus_.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.Notifications"));
}

uint FakeDesktop::Notify(const QString &program, uint replaces, const QString &icon,
                         const QString &summary, const QString &body, const QStringList &actions,
                         const QVariantMap &hints, int /*timeout*/, const QDBusMessage &message)
{
    switch (std::exchange(nextAnswer_, Answer::Number)) {
    case Answer::Number:
        break;
    case Answer::Refusal:
        message.setDelayedReply(true);
        bus_.send(message.createErrorReply(
            QStringLiteral("org.freedesktop.Notifications.Error.Excess"), QStringLiteral("no")));
        return 0;
    case Answer::None:
        message.setDelayedReply(true);
        silent_ = true;
        return 0;
    }
    const uint id = replaces != 0 ? replaces : nextId_++;
    notifications_ << Notification{program, replaces, icon, summary, body, actions, hints, id};
    return id;
}

} // namespace talo::tests
