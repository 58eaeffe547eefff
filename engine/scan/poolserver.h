// A talo-scan-worker process and the control socket to it.
#pragma once

#include "files/uniquefd.h"
#include "scan/scratchfolder.h"
#include "scan/workerpool.h"

#include <memory>
#include <string>
#include <sys/types.h>

namespace talo::scan
{

class PoolServer
{
public:
    // Nothing, and why, where it cannot be started. The server dies with the calling thread.
    static std::unique_ptr<PoolServer> start(const PoolConfig &config, unsigned workers,
                                             Priority priority, std::string &failure);
    ~PoolServer(); // kills it, if it still runs, and reaps it
    PoolServer(const PoolServer &) = delete;
    PoolServer &operator=(const PoolServer &) = delete;

    int control() const { return control_.get(); }
    // It has said that it is isolated, and works in memory where that is to be had.
    void isolated() { scratch_.goIfUnused(); }
    // Asks it to end its workers and itself; the control socket closes when it has.
    void end();

private:
    PoolServer() = default;

    ScratchFolder scratch_;
    files::UniqueFd control_;
    pid_t pid_ = -1;
};

} // namespace talo::scan
