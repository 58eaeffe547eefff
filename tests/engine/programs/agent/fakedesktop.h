// The desktop's notification service, played on a bus of the test's.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace talo::tests
{

struct Notification {
    QString program;
    uint replaces;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    uint id; // that it was given
};

// Owns the service's name while it lives.
class FakeDesktop : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    FakeDesktop(const QString &bus, const QStringList &capabilities, uint firstId = 1);
    ~FakeDesktop() override;

    QList<Notification> notifications() const { return notifications_; }
    // As when the user clicks a notification and it goes.
    void invoke(uint id, const QString &action);
    void close(uint id);
    // Answers the next notification with an error.
    void refuseOnce() { refuses_ = true; }

public slots:
    Q_SCRIPTABLE QStringList GetCapabilities() const { return capabilities_; }
    Q_SCRIPTABLE uint Notify(const QString &program, uint replaces, const QString &icon,
                             const QString &summary, const QString &body,
                             const QStringList &actions, const QVariantMap &hints, int timeout,
                             const QDBusMessage &message);

signals:
    Q_SCRIPTABLE void ActionInvoked(uint id, const QString &action);
    Q_SCRIPTABLE void NotificationClosed(uint id, uint reason);

private:
    QDBusConnection bus_;
    QStringList capabilities_;
    QList<Notification> notifications_;
    uint nextId_;
    bool refuses_ = false;
};

} // namespace talo::tests
