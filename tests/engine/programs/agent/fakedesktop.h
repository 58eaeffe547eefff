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
    void refuseOnce() { nextAnswer_ = Answer::Refusal; }
    // Takes the next notification and never answers.
    void keepSilentOnce() { nextAnswer_ = Answer::None; }
    bool isSilent() const { return silent_; } // has done so

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
    enum class Answer { Number, Refusal, None };

    QDBusConnection bus_;
    QStringList capabilities_;
    QList<Notification> notifications_;
    uint nextId_;
    Answer nextAnswer_ = Answer::Number;
    bool silent_ = false;
};

} // namespace talo::tests
