// Which error an answer of the bus is.
#pragma once

#include <QDBusError>

class QDBusMessage;

namespace talo::client
{

bool is(const QDBusMessage &answer, QDBusError::ErrorType type);

// Whether nothing came back in time: what was asked for may have happened or not.
bool isSilence(const QDBusMessage &answer);

} // namespace talo::client
