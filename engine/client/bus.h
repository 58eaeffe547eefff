// The way to the service: finds its bus, calls it, and says in words why it cannot be reached.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVariantList>

#include <chrono>
#include <mutex>
#include <optional>

namespace talo::client
{

// One connection of this process, made at the first need. All of it may be used from any thread and
// before an application object exists.
//
// TALO_BUS names the bus: "system", "session" or a D-Bus address. Without it the system bus is
// taken if the service is there or can be started there, otherwise the session bus. A session bus
// is never launched.
class Bus
{
public:
    static Bus &instance();
    Bus(const Bus &) = delete;
    Bus &operator=(const Bus &) = delete;

    static constexpr std::chrono::milliseconds kPatience{5000};
    static constexpr std::chrono::milliseconds kSilence{30000};
    static constexpr std::chrono::milliseconds kLongPatience{150000};

    // Calls the service and waits. The answer is a reply or an error, never an invalid message: no
    // bus and no service are known at once, and a service that let kPatience pass without a word
    // is not waited for again during kSilence.
    QDBusMessage call(const char *interface, const char *method, const QVariantList &arguments = {},
                      std::chrono::milliseconds patience = kPatience);

    // For what may take a person's time, as when an administrator is asked for a password: waits
    // for minutes, once the service has shown with an answer to `alive`, a method of the interface
    // without arguments, that it is there at all.
    QDBusMessage callPatiently(const char *interface, const char *alive, const char *method,
                               const QVariantList &arguments = {});

    // The connection itself, for signals and calls that do not wait; not connected without a bus.
    QDBusConnection connection();

    // A call to the service, to be sent on connection().
    static QDBusMessage message(const char *interface, const char *method,
                                const QVariantList &arguments = {});

    // Which bus connection() is on, for people: "system bus", "session bus" or "bus named by
    // TALO_BUS".
    QString place();

    // What an error means for the user, and what can be done.
    static QString explain(const QDBusMessage &error);

private:
    Bus();
    QDBusConnection connect();
    QDBusConnection open(const QString &address, const char *purpose) const;
    QDBusMessage send(const QDBusMessage &question, std::chrono::milliseconds patience);
    void forget(const QDBusConnection &connection);
    bool silent() const;

    mutable std::mutex mutex_;
    std::optional<QDBusConnection> connection_;
    std::chrono::steady_clock::time_point silentUntil_;
};

} // namespace talo::client
