// A new settings password for who has forgotten it, by mail.
#pragma once

#include <QObject>
#include <QThreadPool>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

namespace talo::store
{
class PasswordStore;
}

namespace talo::service
{

// Lives on the service's main thread; hashing and mailing have a thread of their own.
class PasswordReset : public QObject
{
    Q_OBJECT

public:
    // As the interface numbers them.
    enum class Outcome {
        Sent = 4097,
        Unreachable = 101, // no way to the mail server
        Nothing = 1,       // no mail server or no address is configured, or no password to reset
        Refused = 2,       // the mail server refused
        Failed = -1,
    };

    // Anybody at this machine may ask for a mail; the registered owner is not to drown in them.
    static constexpr std::chrono::seconds kBetweenMails{60};

    PasswordReset(store::PasswordStore &store, std::string configurationFile);
    ~PasswordReset() override; // gives up what is under way

    // The old password stays valid until the mail server has taken over the message with the new
    // one. Calls back on the main thread. False: one is under way, or was sent a moment ago.
    bool begin(std::function<void(Outcome)> done);

private:
    Outcome run() const; // on the other thread
    Outcome store(const std::string &hash) const;

    store::PasswordStore &store_;
    const std::string configurationFile_;
    bool busy_ = false;
    std::chrono::steady_clock::time_point free_;
    std::atomic<bool> stop_{false};
    QThreadPool thread_;
};

} // namespace talo::service
