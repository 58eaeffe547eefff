// A call that is answered later than it came.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantList>

namespace talo::service
{

// Can be copied to wherever the answer comes from; may be answered from any thread, once.
struct Call {
    QDBusMessage question;
    QDBusConnection bus;
    uint user = 0; // who called

    QString caller() const { return question.service(); }
    void send(const QDBusMessage &reply) const { bus.send(reply); }
    void answer(const QVariantList &values = {}) const { send(question.createReply(values)); }
    void refuse(const char *error, const QString &reason) const
    {
        send(question.createErrorReply(QString::fromLatin1(error), reason));
    }
};

} // namespace talo::service
