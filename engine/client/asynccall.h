// A call that does not wait for its answer.
#pragma once

#include <QDBusConnection>

#include <chrono>
#include <functional>

class QDBusMessage;
class QObject;

namespace talo::client
{

// Hands the answer, be it a reply or an error, to `answered` in the event loop of `context`'s
// thread, unless `context` is gone by then. Without a bus the error comes at once.
void callAsync(const QDBusConnection &bus, const QDBusMessage &message,
               std::chrono::milliseconds patience, QObject *context,
               const std::function<void(const QDBusMessage &)> &answered);

} // namespace talo::client
