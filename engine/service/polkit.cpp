#include "service/polkit.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <chrono>

namespace talo::service
{

namespace
{

// A person has to read, and to type a password.
constexpr std::chrono::milliseconds kDialoguePatience = std::chrono::minutes(2);
constexpr std::chrono::milliseconds kPatience = std::chrono::seconds(20);

QVariant subject(const QString &caller)
{
    QDBusArgument argument;
    argument.beginStructure();
    argument << QStringLiteral("system-bus-name") << QVariantMap{{QStringLiteral("name"), caller}};
    argument.endStructure();
    return QVariant::fromValue(argument);
}

QVariant noDetails()
{
    QDBusArgument argument;
    argument.beginMap(QMetaType::QString, QMetaType::QString);
    argument.endMap();
    return QVariant::fromValue(argument);
}

PolkitAnswer read(const QDBusMessage &reply)
{
    PolkitAnswer answer;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        answer.failure = QStringLiteral("polkit cannot be asked: ") + reply.errorMessage();
    } else if (reply.signature() != QLatin1String("(bba{ss})")) {
        answer.failure = QStringLiteral("polkit's answer has an unknown form");
    } else {
        bool challenge = false;
        const auto result = reply.arguments().at(0).value<QDBusArgument>();
        result.beginStructure();
        result >> answer.authorized >> challenge;
        result.endStructure();
        if (!answer.authorized && challenge)
            answer.failure = QStringLiteral("an administrator must authorise it");
    }
    return answer;
}

} // namespace

void askPolkit(const PolkitQuestion &question, QObject *context,
               std::function<void(const PolkitAnswer &)> answered)
{
    const bool dialogue = question.dialogue == PolkitDialogue::Allowed;
    QDBusMessage call =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.PolicyKit1"),
                                       QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
                                       QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
                                       QStringLiteral("CheckAuthorization"));
    call.setArguments(
        {subject(question.caller), question.action, noDetails(), dialogue ? 1U : 0U, QString()});
    const auto patience = dialogue ? kDialoguePatience : kPatience;
    auto *const watcher = new QDBusPendingCallWatcher(
        question.bus.asyncCall(call, static_cast<int>(patience.count())), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answered(read(finished->reply()));
                     });
}

} // namespace talo::service
