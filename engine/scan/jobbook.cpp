#include "scan/jobbook.h"

#include <algorithm>

namespace talo::scan
{

namespace
{

// What a job holds of its threats, so that a place full of them cannot use up the memory.
constexpr std::size_t kMaxThreats = 10000;
constexpr std::size_t kMaxThreatText = std::size_t{16} << 20u;

void add(Tally &tally, std::uint64_t bytes)
{
    ++tally.files;
    tally.bytes += bytes;
}

Tally sum(const Totals &totals)
{
    Tally all;
    for (const Tally *tally : {&totals.clean, &totals.threats, &totals.skipped, &totals.errors}) {
        all.files += tally->files;
        all.bytes += tally->bytes;
    }
    return all;
}

} // namespace

void JobBook::scanning(std::chrono::milliseconds preparation)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    phase_ = JobPhase::Scanning;
    preparation_ = preparation;
}

void JobBook::counted(const Tally &all)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    counted_ = all;
}

void JobBook::reached(const std::string &path)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    current_ = path;
}

void JobBook::clean(std::uint64_t bytes)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    add(totals_.clean, bytes);
}

void JobBook::threat(const Threat &threat, std::uint64_t bytes)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    add(totals_.threats, bytes);
    const std::size_t text = threat.path.size() + threat.name.size() + threat.outcome.size();
    if (threats_.size() < kMaxThreats && threatText_ + text <= kMaxThreatText) {
        threatText_ += text;
        threats_.push_back(threat);
    }
}

void JobBook::passedOver(VerdictKind kind, std::uint64_t bytes)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    add(kind == VerdictKind::Skipped ? totals_.skipped : totals_.errors, bytes);
}

Totals JobBook::totals() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return totals_;
}

void JobBook::end(Outcome outcome)
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        outcome_ = std::move(outcome);
        phase_ = JobPhase::Ended;
    }
    ended_.notify_all();
}

void JobBook::waitForEnd()
{
    std::unique_lock<std::mutex> lock(mutex_);
    ended_.wait(lock, [this] { return phase_ == JobPhase::Ended; });
}

JobProgress JobBook::progress(std::chrono::milliseconds elapsed)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    JobProgress progress;
    progress.phase = phase_;
    progress.end = outcome_.end;
    progress.failure = outcome_.failure;
    progress.current = current_;
    progress.filesTotal = counted_.files;
    progress.bytesTotal = counted_.bytes;
    progress.totals = totals_;
    progress.elapsed = elapsed;
    if (phase_ == JobPhase::Ended)
        progress.remaining = std::chrono::milliseconds{0};
    else if (phase_ == JobPhase::Scanning)
        progress.remaining = remaining_.estimate(sum(totals_), counted_, elapsed - preparation_);
    return progress;
}

std::vector<Threat> JobBook::threats(std::size_t from, std::size_t most) const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto begin =
        threats_.begin() + static_cast<std::ptrdiff_t>(std::min(from, threats_.size()));
    const auto left = static_cast<std::size_t>(threats_.end() - begin);
    return {begin, begin + static_cast<std::ptrdiff_t>(std::min(most, left))};
}

} // namespace talo::scan
