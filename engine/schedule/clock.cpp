#include "schedule/clock.h"

#include <charconv>

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kSecond = 1000000000;
constexpr unsigned kFastest = 100000;
constexpr std::int64_t kLatest = std::int64_t{1} << 36U; // the year 4147

std::int64_t nanoseconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

std::int64_t slept()
{
    return nanoseconds(CLOCK_BOOTTIME) - nanoseconds(CLOCK_MONOTONIC);
}

class SystemClock final : public Clock
{
public:
    std::int64_t now() override { return nanoseconds(CLOCK_REALTIME) / kSecond; }
    std::int64_t awakeFor() override
    {
        // The two are not read at once, so some little difference means nothing.
        if (const std::int64_t now = slept(); now - slept_ > kSecond) {
            slept_ = now;
            awakeSince_ = nanoseconds(CLOCK_MONOTONIC);
        }
        return (nanoseconds(CLOCK_MONOTONIC) - awakeSince_) / kSecond;
    }
    timespec systemTime(std::int64_t moment) override { return {moment, 0}; }

private:
    std::int64_t slept_ = slept();
    std::int64_t awakeSince_ = nanoseconds(CLOCK_MONOTONIC);
};

class TrialClock final : public Clock
{
public:
    TrialClock(std::int64_t begin, unsigned rate) : begin_(begin), rate_(rate) {}
    std::int64_t now() override { return begin_ + awakeFor(); }
    std::int64_t awakeFor() override
    {
        return (nanoseconds(CLOCK_MONOTONIC) - since_) / (kSecond / rate_);
    }
    timespec systemTime(std::int64_t moment) override
    {
        const std::int64_t left = (moment - now()) * (kSecond / rate_);
        // A little later, for the system's clock is another than the one gone by here.
        const std::int64_t then = nanoseconds(CLOCK_REALTIME) + left + kSecond / 1000;
        return {then / kSecond, then % kSecond};
    }

private:
    const std::int64_t begin_;
    const std::int64_t rate_;
    const std::int64_t since_ = nanoseconds(CLOCK_MONOTONIC);
};

} // namespace

std::unique_ptr<Clock> systemClock()
{
    return std::make_unique<SystemClock>();
}

std::unique_ptr<Clock> trialClock(std::int64_t begin, unsigned rate)
{
    return std::make_unique<TrialClock>(begin, rate);
}

std::unique_ptr<Clock> trialClock(const std::string &text)
{
    std::int64_t begin = -1;
    unsigned rate = 1;
    const char *const end = text.data() + text.size();
    const auto moment = std::from_chars(text.data(), end, begin);
    const char *stopped = moment.ptr;
    if (moment.ec == std::errc() && stopped != end && *stopped == '*') {
        const auto factor = std::from_chars(stopped + 1, end, rate);
        stopped = factor.ec == std::errc() ? factor.ptr : nullptr;
    }
    if (moment.ec != std::errc() || stopped != end || begin < 0 || begin > kLatest || rate < 1 ||
        rate > kFastest)
        return nullptr;
    return trialClock(begin, rate);
}

} // namespace talo::schedule
