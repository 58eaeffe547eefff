// What a job keeps of its course for those who ask.
#pragma once

#include "scan/job.h"
#include "scan/remaining.h"

#include <condition_variable>
#include <mutex>

namespace talo::scan
{

// Written by the job's threads and read by any.
class JobBook
{
public:
    struct Outcome {
        JobEnd end = JobEnd::Finished;
        std::string failure;
    };

    void scanning(std::chrono::milliseconds preparation); // took so long
    void counted(const Tally &all);
    void reached(const std::string &path);
    void clean(std::uint64_t bytes);
    void threat(const Threat &threat, std::uint64_t bytes);
    void passedOver(VerdictKind kind, std::uint64_t bytes);
    Totals totals() const;

    void end(Outcome outcome);
    void waitForEnd();

    // Without the phases that somebody's wish makes of Scanning.
    JobProgress progress(std::chrono::milliseconds elapsed);
    std::vector<Threat> threats(std::size_t from, std::size_t most) const;

private:
    mutable std::mutex mutex_; // for all below
    std::condition_variable ended_;
    JobPhase phase_ = JobPhase::Preparing;
    Outcome outcome_;
    std::string current_;
    Tally counted_;
    Totals totals_;
    std::chrono::milliseconds preparation_{0};
    RemainingTime remaining_;
    std::vector<Threat> threats_;
    std::size_t threatText_ = 0;
};

} // namespace talo::scan
