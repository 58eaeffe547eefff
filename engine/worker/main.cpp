// talo-scan-worker: the only program that links libclamav, and never as root. Started by the scan
// pool with the descriptors and the messages of scan/workerprotocol.h.

#include "charsets.h"
#include "confinement.h"
#include "engine.h"
#include "isolation.h"
#include "scan/priority.h"
#include "server.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{

using namespace talo::worker;
namespace protocol = talo::scan::protocol;

int refuse(const std::string &reason)
{
    protocol::LoadFailed message;
    message.reason.set(reason);
    protocol::send(protocol::kControlFd, message, 0);
    return 1;
}

bool sane(const protocol::Configure &configuration)
{
    constexpr std::uint64_t kMost = 1ull << 40;
    return configuration.slots >= 1 && configuration.slots <= protocol::kMaxSlots &&
           configuration.maxFileSize >= 1 && configuration.maxFileSize < kMost &&
           configuration.maxMemory < kMost && configuration.maxTemporary < kMost;
}

// On a thread of its own: its priority ends with it, while a process has no way back.
void runConsiderately(const std::function<void()> &work)
{
    // What it allocates shall lie where the workers' own memory does: that of a thread grows by
    // calls that they are refused.
    mallopt(M_ARENA_MAX, 1);
    try {
        std::thread([&work] {
            talo::scan::runInBackground();
            work();
        }).join();
    } catch (const std::system_error &) {
        work(); // there is no thread to be had
    }
}

// To the log of the service, whose standard error this is.
void warnOfMissingLayers(const Isolation &isolation)
{
    if (!isolation.fileSystemClosed && !canConfineToFolder())
        std::fputs("talo-scan-worker: this system offers neither Landlock nor a root folder of "
                   "its own to the scan workers: they are not kept from the file system\n",
                   stderr);
}

} // namespace

int main()
{
    protocol::Packet packet;
    protocol::Configure configuration;
    int unexpected = -1;
    if (protocol::receive(protocol::kControlFd, packet, 0, protocol::Descriptors::Accept,
                          &unexpected) != protocol::Receive::Message ||
        !packet.read(configuration) || !sane(configuration)) {
        std::fputs("talo-scan-worker is started by talod and is of no use by hand.\n", stderr);
        return 2;
    }
    Isolation isolation =
        isolate(configuration.slots, configuration.maxTemporary, protocol::kScratchFd);
    if (!isolation.failure.empty())
        return refuse(isolation.failure);

    loadCharsets();
    static Engine engine;
    std::string failure = engine.prepare();
    if (failure.empty())
        failure = closeFileSystem(isolation);
    if (!failure.empty())
        return refuse(failure);
    warnOfMissingLayers(isolation);
    if (!protocol::send(protocol::kControlFd, protocol::Isolated{}, 0))
        return 1;

    // By descriptor, for the folder may lie below one that only the pool's identity may enter, and
    // outside the root.
    if (fchdir(protocol::kSignaturesFd) != 0)
        return refuse(std::string("the signature folder cannot be entered: ") +
                      std::strerror(errno));
    const auto load = [&] {
        failure = engine.load(configuration.maxFileSize,
                              configuration.maxFileSize + configuration.maxTemporary);
    };
    if (configuration.background != 0)
        runConsiderately(load);
    else
        load();
    if (!failure.empty())
        return refuse(failure);
    // A folder that is someone's current one cannot be unmounted, and leads out of the root.
    if (chdir("/") != 0)
        return refuse("the root folder cannot be entered");
    close(protocol::kSignaturesFd);
    close(protocol::kScratchFd);

    Server server(protocol::kControlFd, engine, configuration, isolation);
    protocol::Loaded loaded;
    loaded.signatures = engine.signatures();
    if (!protocol::send(protocol::kControlFd, loaded, 0))
        return 1;
    return server.run();
}
