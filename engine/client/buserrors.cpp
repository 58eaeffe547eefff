#include "client/buserrors.h"

#include <QDBusMessage>

namespace talo::client
{

bool is(const QDBusMessage &answer, QDBusError::ErrorType type)
{
    return answer.errorName() == QDBusError::errorString(type);
}

bool isSilence(const QDBusMessage &answer)
{
    return is(answer, QDBusError::NoReply) || is(answer, QDBusError::Timeout) ||
           is(answer, QDBusError::TimedOut);
}

} // namespace talo::client
