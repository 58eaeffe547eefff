// The pool's thread: keeps one crew serving while there is something to scan, and lets it go when
// nothing has been scanned for a while, sooner where memory is short.
#pragma once

#include "scan/poolcrew.h"
#include "scan/poolqueue.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace talo::scan
{

class PoolDispatcher
{
public:
    PoolDispatcher(PoolConfig config, unsigned workers, PoolQueue &queue);
    ~PoolDispatcher(); // ends every process; the queue must have been shut down

private:
    void run();
    void waitForEvents(TimePoint until);
    void judgeCrew(TimePoint now);
    void followWishes(const PoolQueue::Wishes &wishes, TimePoint now);
    void beginIdling(TimePoint now);
    bool memoryIsShort(TimePoint now);
    void startCrew(Priority priority, TimePoint now);
    void failLoad(const std::string &reason, TimePoint now);
    void retireCrew(TimePoint now);
    void forgetRetired();
    void endAll();
    TimePoint nextDeadline() const;

    const PoolConfig config_;
    const unsigned workers_;
    PoolQueue &queue_;

    std::unique_ptr<PoolCrew> crew_;
    std::vector<std::unique_ptr<PoolCrew>> retired_; // were told to end
    Priority loadsWith_ = Priority::Normal;          // how crew_ loads
    bool announced_ = false;                         // whether crew_ is known to have loaded
    bool wantCrew_ = false;
    TimePoint startNotBefore_;
    TimePoint idleSince_;
    TimePoint nextLook_;  // at the pressure on memory, while idle
    unsigned losses_ = 0; // servers lost in a row without having answered a file
    std::string failure_; // why nothing can be scanned, until then
    TimePoint failureHolds_;
    std::thread thread_;
};

} // namespace talo::scan
