#include "programs/agent/notifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QStringList>
#include <QVariantMap>

#include <algorithm>
#include <utility>

namespace talo::programs
{

namespace
{

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kObject[] = "/org/freedesktop/Notifications";
constexpr char kClick[] = "default"; // the action of a click on the notification itself

constexpr int kMostWaiting = 20;
constexpr int kPatienceMs = 30000; // the desktop may have to start the service first
constexpr int kRetryMs = 60000;
constexpr int kUntilDesktopDecides = -1;

QDBusMessage desktopCall(const char *method)
{
    return QDBusMessage::createMethodCall(
        QString::fromLatin1(kService), QString::fromLatin1(kObject), QString::fromLatin1(kService),
        QString::fromLatin1(method));
}

bool absent(const QDBusError &error)
{
    return error.type() == QDBusError::ServiceUnknown ||
           error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ||
           error.name().startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn"));
}

} // namespace

Notifier::Notifier(const QDBusConnection &session, QObject *parent)
    : QObject(parent), session_(session)
{
    const QString service = QString::fromLatin1(kService);
    const QString object = QString::fromLatin1(kObject);
    session_.connect(service, object, service, QStringLiteral("ActionInvoked"),
                     QStringLiteral("us"), this, SLOT(actionInvoked(uint, QString)));
    session_.connect(service, object, service, QStringLiteral("NotificationClosed"),
                     QStringLiteral("uu"), this, SLOT(notificationClosed(uint, uint)));
    const auto *watcher =
        new QDBusServiceWatcher(service, session_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &Notifier::ownerChanged);
    retry_.setSingleShot(true);
    connect(&retry_, &QTimer::timeout, this, &Notifier::sendNext);
}

void Notifier::show(const Notice &notice)
{
    for (Notice &other : waiting_) {
        if (other.group == notice.group) {
            other = notice;
            return;
        }
    }
    waiting_ << notice;
    while (waiting_.size() > kMostWaiting)
        waiting_.removeFirst();
    sendNext();
}

// What the desktop can show is asked each time: it may have been exchanged for another.
void Notifier::sendNext()
{
    if (busy_ || waiting_.isEmpty())
        return;
    busy_ = true;
    desktopLost_ = false;
    retry_.stop();
    sending_ = waiting_.takeFirst();
    auto *answer = new QDBusPendingCallWatcher(
        session_.asyncCall(desktopCall("GetCapabilities"), kPatienceMs), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> capabilities = *answer;
        if (capabilities.isError())
            failed(capabilities.error());
        else
            send(capabilities.value());
    });
}

// A desktop that understands markup in the body would take a file's name for it.
void Notifier::send(const QStringList &capabilities)
{
    const bool markup = capabilities.contains(QLatin1String("body-markup"));
    QStringList actions;
    if (capabilities.contains(QLatin1String("actions")))
        actions << QString::fromLatin1(kClick) << QStringLiteral("Open TALO Antivirus");
    const QVariantMap hints{
        {QStringLiteral("urgency"), QVariant::fromValue(static_cast<uchar>(sending_.urgency))}};

    QDBusMessage call = desktopCall("Notify");
    call.setArguments({QStringLiteral("TALO Antivirus"), shown_.key(sending_.group, 0),
                       sending_.icon, sending_.summary,
                       markup ? sending_.body.toHtmlEscaped() : sending_.body, actions, hints,
                       kUntilDesktopDecides});
    auto *answer = new QDBusPendingCallWatcher(session_.asyncCall(call, kPatienceMs), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<uint> number = *answer;
        if (number.isError()) {
            failed(number.error());
            return;
        }
        shown_.insert(number.value(), sending_.group);
        emit shown(sending_.group);
        busy_ = false;
        sendNext();
    });
}

// A notice that nobody can have seen is kept; one that may have been seen is not shown again.
void Notifier::failed(const QDBusError &error)
{
    busy_ = false;
    if (!absent(error) && !desktopLost_) {
        qWarning("The desktop did not show \"%s\": %s", qUtf8Printable(sending_.summary),
                 qUtf8Printable(error.message()));
        sendNext();
        return;
    }
    const bool outdated =
        std::any_of(waiting_.cbegin(), waiting_.cend(),
                    [this](const Notice &other) { return other.group == sending_.group; });
    if (!outdated)
        waiting_.prepend(std::exchange(sending_, {}));
    retry_.start(kRetryMs); // a new service is told of at once, but not one that may now be started
}

void Notifier::actionInvoked(uint id, const QString &action)
{
    if (shown_.contains(id) && action == QLatin1String(kClick))
        emit clicked();
}

void Notifier::notificationClosed(uint id, uint /*reason*/)
{
    shown_.remove(id);
}

// Its numbers mean nothing to the next one, which gives them to notifications of its own.
void Notifier::ownerChanged(const QString & /*service*/, const QString & /*before*/,
                            const QString &after)
{
    shown_.clear();
    desktopLost_ = true;
    if (!after.isEmpty())
        sendNext();
}

} // namespace talo::programs
