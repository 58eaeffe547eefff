// Checks of the settings password: one after the other, on a thread of their own, and the slower
// the more wrong ones a user has given.
#pragma once

#include <QObject>
#include <QThreadPool>

#include <chrono>
#include <deque>
#include <functional>
#include <map>

namespace talo::store
{
class PasswordStore;
}

namespace talo::service
{

// Lives on the service's main thread.
class Attempts : public QObject
{
    Q_OBJECT

public:
    // Those of one user that may wait; a person gives one at a time.
    static constexpr std::size_t kMostWaiting = 4;

    explicit Attempts(store::PasswordStore &store);
    ~Attempts() override; // those that wait are dropped

    enum class Verdict { Right, Wrong, Neither };
    using Check = std::function<Verdict()>;    // runs on the thread of the checks
    using Done = std::function<void(Verdict)>; // runs here
    // False: too many wait.
    bool add(uint user, Check check, Done done);

    // How long a user waits after that many wrong ones in succession.
    static std::chrono::milliseconds waitAfter(std::int64_t wrong);

private:
    using Clock = std::chrono::steady_clock;
    struct Attempt {
        Check check;
        Done done;
    };
    struct User {
        std::deque<Attempt> waiting;
        bool busy = false; // one is being checked, or its time has not come
        std::int64_t wrong = 0;
        Clock::time_point free;
    };

    User &known(uint user);
    void next(uint user);
    void check(uint user);
    void checked(uint user, Verdict verdict);

    store::PasswordStore &store_;
    const Clock::time_point started_ = Clock::now();
    std::map<uint, User> users_;
    QThreadPool thread_;
};

} // namespace talo::service
