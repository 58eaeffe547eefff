// talo-scan-worker: the only program that links libclamav, and never as root. Started by the scan
// pool with the descriptors and the messages of scan/workerprotocol.h.

#include "charsets.h"
#include "engine.h"
#include "isolation.h"
#include "server.h"

#include <cstdio>
#include <cstring>
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
    const Isolation isolation =
        isolate(configuration.slots, configuration.maxTemporary, protocol::kScratchFd);
    if (!isolation.failure.empty())
        return refuse(isolation.failure);

    // By descriptor, for the folder may lie below one that only the pool's identity may enter.
    if (fchdir(protocol::kSignaturesFd) != 0)
        return refuse(std::string("the signature folder cannot be entered: ") +
                      std::strerror(errno));
    loadCharsets();
    static Engine engine;
    const std::string failure = engine.load(configuration.maxFileSize,
                                            configuration.maxFileSize + configuration.maxTemporary);
    if (!failure.empty())
        return refuse(failure);
    // A folder that is someone's current one cannot be unmounted.
    if (chdir("/") != 0)
        return refuse("the root folder cannot be entered");
    close(protocol::kSignaturesFd);
    close(protocol::kScratchFd);

    Server server(protocol::kControlFd, engine, configuration, isolation.scratch);
    protocol::Loaded loaded;
    loaded.signatures = engine.signatures();
    if (!protocol::send(protocol::kControlFd, loaded, 0))
        return 1;
    return server.run();
}
