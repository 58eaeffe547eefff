#include "pooldispatcher.h"

#include "scan/memorypressure.h"

#include <algorithm>
#include <chrono>

namespace talo::scan
{

namespace
{

using namespace std::chrono_literals;

// For so long a failure to load answers every file at once; the next one then tries again.
constexpr auto kFailureHolds = 5s;
constexpr unsigned kMostLosses = 3;
constexpr auto kLoadTime = 5min;
constexpr auto kBackgroundLoadTime = 10 * kLoadTime; // as everybody else comes first

} // namespace

PoolDispatcher::PoolDispatcher(PoolConfig config, unsigned workers, PoolQueue &queue)
    : config_(std::move(config))
    , workers_(workers)
    , queue_(queue)
    , idleSince_(Clock::now())
    , thread_(&PoolDispatcher::run, this)
{
}

PoolDispatcher::~PoolDispatcher()
{
    thread_.join();
}

void PoolDispatcher::run()
{
    for (;;) {
        const TimePoint now = Clock::now();
        judgeCrew(now); // first, for it may fulfil a wish
        const PoolQueue::Wishes wishes = queue_.wishes();
        if (wishes.end)
            break;
        followWishes(wishes, now);
        if (crew_)
            crew_->feed(now);
        forgetRetired();
        waitForEvents(nextDeadline());
    }
    endAll();
}

void PoolDispatcher::waitForEvents(TimePoint until)
{
    std::vector<pollfd> watched{{queue_.wakeUp(), POLLIN, 0}};
    if (crew_)
        crew_->watch(watched);
    for (const auto &crew : retired_)
        crew->watch(watched);
    int timeout = -1;
    if (until != TimePoint::max()) {
        const auto wait =
            std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        timeout = static_cast<int>(std::clamp<long long>(wait, 0, 3'600'000));
    }
    if (poll(watched.data(), watched.size(), timeout) < 0)
        return; // interrupted; nothing in `watched` is to be trusted
    const pollfd *events = watched.data() + 1;
    if (crew_)
        events = crew_->handle(events);
    for (const auto &crew : retired_)
        events = crew->handle(events);
    const TimePoint now = Clock::now();
    if (crew_)
        crew_->enforceDeadlines(now);
    for (const auto &crew : retired_)
        crew->enforceDeadlines(now);
}

void PoolDispatcher::judgeCrew(TimePoint now)
{
    if (!crew_)
        return;
    switch (crew_->phase()) {
    case PoolCrew::Phase::Serving:
        if (!announced_)
            queue_.publish(LoadState::Loaded, crew_->signatures(), {});
        announced_ = true;
        break;
    case PoolCrew::Phase::Failed: {
        const std::string reason = crew_->failure();
        crew_.reset();
        failLoad(reason, now);
        break;
    }
    case PoolCrew::Phase::Lost:
        losses_ = crew_->answered() ? 1 : losses_ + 1;
        crew_.reset();
        startNotBefore_ = now + 100ms * (losses_ - 1);
        if (losses_ >= kMostLosses)
            failLoad(announced_ ? "the scan workers ended repeatedly"
                                : "the scan worker ended while it loaded the signatures",
                     now);
        else if (announced_)
            queue_.publish(LoadState::Unloaded, 0, {});
        else
            wantCrew_ = true; // for those that wait for the signatures
        break;
    case PoolCrew::Phase::Loading:
    case PoolCrew::Phase::Ending:
        break;
    }
}

void PoolDispatcher::followWishes(const PoolQueue::Wishes &wishes, TimePoint now)
{
    if (wishes.load)
        wantCrew_ = true;
    if (wishes.waiting) {
        if (now < failureHolds_ && !crew_ && !wantCrew_)
            queue_.failWaiting(failure_);
        else
            wantCrew_ = true;
    }
    // Who comes now shall not wait for one that yields to everybody: it begins anew.
    if (crew_ && crew_->phase() == PoolCrew::Phase::Loading && loadsWith_ == Priority::Background &&
        wishes.priority == Priority::Normal)
        crew_.reset();
    if (crew_ && wishes.load && announced_)
        queue_.publish(LoadState::Loaded, crew_->signatures(), {});

    if (crew_) {
        wantCrew_ = false;
        if (wishes.waiting || wishes.load || crew_->busy() || !announced_)
            beginIdling(now);
        else if (now - idleSince_ >= config_.idleUnload || memoryIsShort(now))
            retireCrew(now);
    } else if (wantCrew_ && startNotBefore_ <= now) {
        startCrew(wishes.priority, now);
    }
}

void PoolDispatcher::beginIdling(TimePoint now)
{
    idleSince_ = now;
    nextLook_ = now + config_.pressureLook;
}

bool PoolDispatcher::memoryIsShort(TimePoint now)
{
    if (config_.pressureReports.empty() || now < nextLook_)
        return false;
    nextLook_ = now + config_.pressureLook;
    return memoryPressure(config_.pressureReports) >= config_.muchPressure;
}

void PoolDispatcher::startCrew(Priority priority, TimePoint now)
{
    std::string failure;
    auto server = PoolServer::start(config_, workers_, priority, failure);
    if (!server) {
        failLoad(failure, now);
        return;
    }
    crew_ =
        std::make_unique<PoolCrew>(config_, workers_, queue_, std::move(server),
                                   priority == Priority::Normal ? kLoadTime : kBackgroundLoadTime);
    wantCrew_ = false;
    loadsWith_ = priority;
    announced_ = false;
    beginIdling(now);
    queue_.publish(LoadState::Loading, 0, {});
}

void PoolDispatcher::failLoad(const std::string &reason, TimePoint now)
{
    failure_ = reason;
    failureHolds_ = now + kFailureHolds;
    wantCrew_ = false;
    losses_ = 0;
    queue_.publish(LoadState::Failed, 0, reason);
    queue_.failWaiting(reason);
}

void PoolDispatcher::retireCrew(TimePoint now)
{
    crew_->end(now);
    retired_.push_back(std::move(crew_));
    announced_ = false;
    queue_.publish(LoadState::Unloaded, 0, {});
}

void PoolDispatcher::forgetRetired()
{
    const auto ended = [](const auto &crew) { return crew->phase() != PoolCrew::Phase::Ending; };
    retired_.erase(std::remove_if(retired_.begin(), retired_.end(), ended), retired_.end());
}

void PoolDispatcher::endAll()
{
    if (crew_) {
        crew_->failFiles("the scan engine was ended");
        // A server that is still loading does not listen; it is killed with what it has forked:
        // nothing.
        if (crew_->phase() == PoolCrew::Phase::Serving)
            retireCrew(Clock::now());
        crew_.reset();
    }
    wantCrew_ = false;
    for (forgetRetired(); !retired_.empty(); forgetRetired())
        waitForEvents(nextDeadline());
}

TimePoint PoolDispatcher::nextDeadline() const
{
    TimePoint next = TimePoint::max();
    if (crew_)
        next = std::min(crew_->nextDeadline(), crew_->nextStart());
    if (crew_ && announced_ && !crew_->busy())
        next = std::min(next, config_.pressureReports.empty()
                                  ? idleSince_ + config_.idleUnload
                                  : std::min(idleSince_ + config_.idleUnload, nextLook_));
    if (!crew_ && wantCrew_)
        next = std::min(next, startNotBefore_);
    for (const auto &crew : retired_)
        next = std::min(next, crew->nextDeadline());
    return next;
}

} // namespace talo::scan
