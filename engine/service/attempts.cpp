#include "service/attempts.h"

#include "store/passwordstore.h"

#include <QTimer>

#include <algorithm>

namespace talo::service
{

namespace
{

constexpr std::chrono::milliseconds kFirstWait{250};
constexpr std::int64_t kMostDoublings = 5; // to 8 seconds

} // namespace

Attempts::Attempts(store::PasswordStore &store) : store_(store)
{
    // One check takes 256 MiB.
    thread_.setMaxThreadCount(1);
}

Attempts::~Attempts()
{
    thread_.clear();
    thread_.waitForDone();
}

std::chrono::milliseconds Attempts::waitAfter(std::int64_t wrong)
{
    if (wrong <= 0)
        return std::chrono::milliseconds(0);
    return kFirstWait * (std::int64_t{1} << std::min(wrong - 1, kMostDoublings));
}

// A restart does not shorten a wait: it begins anew then. No time of day takes part in it, so that
// no change of the clock can lift a wait or prolong it.
Attempts::User &Attempts::known(uint user)
{
    const auto [entry, isNew] = users_.try_emplace(user);
    if (isNew) {
        const std::int64_t wrong = store_.wrongAttempts(user);
        entry->second.wrong = wrong < 0 ? kMostDoublings + 1 : wrong;
        entry->second.free = started_ + waitAfter(entry->second.wrong);
    }
    return entry->second;
}

bool Attempts::add(uint user, Check check, Done done)
{
    User &entry = known(user);
    if (entry.waiting.size() >= kMostWaiting)
        return false;
    entry.waiting.push_back({std::move(check), std::move(done)});
    if (!entry.busy)
        next(user);
    return true;
}

void Attempts::next(uint user)
{
    User &entry = users_.at(user);
    if (entry.waiting.empty()) {
        if (entry.wrong == 0)
            users_.erase(user);
        return;
    }
    entry.busy = true;
    const auto wait = std::max(entry.free - Clock::now(), Clock::duration::zero());
    // A coarse timer may come a twentieth too early.
    QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(wait), Qt::PreciseTimer, this,
                       [this, user] { check(user); });
}

void Attempts::check(uint user)
{
    const User &entry = users_.at(user);
    // Counted before it is known to be wrong: to end the service in the middle of a check is no
    // way to try without being counted.
    thread_.start([this, user, wrong = entry.wrong, check = entry.waiting.front().check] {
        store_.setWrongAttempts(user, wrong + 1);
        const Verdict verdict = check();
        if (verdict != Verdict::Wrong)
            store_.setWrongAttempts(user, verdict == Verdict::Right ? 0 : wrong);
        QMetaObject::invokeMethod(
            this, [this, user, verdict] { checked(user, verdict); }, Qt::QueuedConnection);
    });
}

void Attempts::checked(uint user, Verdict verdict)
{
    User &entry = users_.at(user);
    if (verdict == Verdict::Right)
        entry.wrong = 0;
    else if (verdict == Verdict::Wrong)
        ++entry.wrong;
    if (verdict != Verdict::Neither)
        entry.free = Clock::now() + waitAfter(entry.wrong);
    const Done done = std::move(entry.waiting.front().done);
    entry.waiting.pop_front();
    entry.busy = false;
    done(verdict);
    // What was done may have added another one.
    const auto still = users_.find(user);
    if (still != users_.end() && !still->second.busy)
        next(user);
}

} // namespace talo::service
