// talo-disinfect: started by talod for one file, with the descriptors and the messages of
// scan/disinfectprotocol.h. Never works as root, and can do nothing but what those descriptors
// allow.

#include "disinfect/archive.h"
#include "disinfect/rewrite.h"
#include "worker/confinement.h"
#include "worker/isolation.h"

#include <clocale>
#include <cstdio>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace protocol = talo::scan::protocol;
namespace disinfection = talo::scan::disinfection;
using talo::disinfect::Refusal;

constexpr std::uint64_t kMemory = 768ull << 20;

int refuse(const std::string &reason)
{
    disinfection::Refused message;
    message.reason.set(reason);
    protocol::send(disinfection::kSocketFd, message, 0);
    return 1;
}

std::string confine()
{
    talo::worker::Isolation isolation = talo::worker::isolate(0, 0, -1);
    if (!isolation.failure.empty())
        return isolation.failure;
    talo::worker::Limits limits;
    limits.addressSpace = talo::worker::addressSpace(isolation.memoryFigures) + kMemory;
    limits.fileSize = disinfection::kMaxResult;
    close(isolation.memoryFigures);
    close(isolation.nullDevice);
    std::string failure = talo::worker::closeFileSystem(isolation);
    if (failure.empty())
        failure = talo::worker::limitResources(limits);
    if (failure.empty())
        failure = talo::worker::confineToNothing();
    if (failure.empty())
        failure = talo::worker::filterSystemCalls();
    return failure;
}

disinfection::Fate ask()
{
    protocol::Packet packet;
    disinfection::Judged answer;
    if (!protocol::send(disinfection::kSocketFd, disinfection::Judge(), 0) ||
        protocol::receive(disinfection::kSocketFd, packet, 0, protocol::Descriptors::Refuse,
                          nullptr) != protocol::Receive::Message ||
        !packet.read(answer))
        throw Refusal("there was no answer about a part");
    return answer.fate;
}

} // namespace

int main()
{
    struct stat status = {};
    if (fstat(disinfection::kSocketFd, &status) != 0 || !S_ISSOCK(status.st_mode)) {
        std::fputs("talo-disinfect is started by talod and is of no use by hand.\n", stderr);
        return 2;
    }
    // Names in archives are kept only where they are UTF-8.
    if (!std::setlocale(LC_CTYPE, "C.UTF-8"))
        return refuse("this system knows no UTF-8");
    if (const std::string failure = confine(); !failure.empty())
        return refuse(failure);
    try {
        disinfection::Finished finished;
        finished.removed = talo::disinfect::rewrite(
            {disinfection::kOriginalFd, disinfection::kResultFd, disinfection::kPartFd}, ask);
        return protocol::send(disinfection::kSocketFd, finished, 0) ? 0 : 1;
    } catch (const Refusal &refusal) {
        return refuse(refusal.what());
    } catch (const std::bad_alloc &) {
        return refuse("it takes too much memory");
    }
}
