// The server: loads the signatures once and forks the workers that share them.
#pragma once

#include "engine.h"
#include "isolation.h"
#include "scan/workerprotocol.h"

#include <cstdint>
#include <sys/types.h>
#include <vector>

namespace talo::worker
{

class Server
{
public:
    Server(int control, Engine &engine, const scan::protocol::Configure &configuration,
           const Isolation &isolation);

    // Serves until the pool closes the control socket, then ends the workers.
    int run();

private:
    struct Slot {
        int scratch = -1;
        pid_t worker = 0; // 0: none
        std::uint32_t generation = 0;
    };

    bool handleRequest();
    void startWorker(const scan::protocol::Fork &request, int socket);
    [[noreturn]] void becomeWorker(const scan::protocol::Fork &request, const Slot &slot,
                                   int socket, pid_t server);
    void reapWorkers();
    void ended(const Slot &slot, std::uint32_t index, scan::protocol::EndedBy by, int number);
    void endWorkers();

    int control_;
    Engine &engine_;
    scan::protocol::Configure configuration_;
    std::uint64_t loadedSpace_;
    int nullDevice_;
    std::vector<Slot> slots_;
};

} // namespace talo::worker
