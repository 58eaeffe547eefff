// Packets between the scan pool, its workers and talo-disinfect. The first byte says whether one
// that comes with a descriptor is acceptable.
#include "target.h"

#include "scan/disinfectprotocol.h"
#include "scan/workerprotocol.h"

#include <array>

namespace
{

using namespace talo::scan;

bool printableText(const protocol::Text &text)
{
    const std::string shown = text.shown();
    return shown.size() <= protocol::kMaxText &&
           std::all_of(shown.begin(), shown.end(),
                       [](char letter) { return letter >= ' ' && letter <= '~'; });
}

template <typename Message> int reads(const protocol::Packet &packet)
{
    Message message;
    return packet.read(message) ? 1 : 0;
}

template <typename Message>
int readsText(const protocol::Packet &packet, protocol::Text Message::*text)
{
    Message message;
    if (!packet.read(message))
        return 0;
    talo::fuzz::require(printableText(message.*text));
    return 1;
}

void judge(const protocol::Packet &packet)
{
    const int kinds = reads<protocol::Configure>(packet) + reads<protocol::Fork>(packet) +
                      reads<protocol::Kill>(packet) + reads<protocol::Isolated>(packet) +
                      reads<protocol::Loaded>(packet) + reads<protocol::Ended>(packet) +
                      reads<protocol::Ready>(packet) + reads<protocol::Scan>(packet) +
                      readsText(packet, &protocol::LoadFailed::reason) +
                      readsText(packet, &protocol::StartFailed::reason) +
                      readsText(packet, &protocol::Verdict::detail) +
                      reads<disinfection::Judge>(packet) + reads<disinfection::Judged>(packet) +
                      reads<disinfection::Finished>(packet) +
                      readsText(packet, &disinfection::Refused::reason);
    talo::fuzz::require(kinds <= 1);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::array<int, 2> ends{};
    talo::fuzz::require(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0);
    const auto descriptors =
        *data % 2 == 0 ? protocol::Descriptors::Refuse : protocol::Descriptors::Accept;
    if (send(ends[0], data + 1, size - 1, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
        protocol::Packet packet;
        int fd = -1;
        if (receive(ends[1], packet, MSG_DONTWAIT, descriptors, &fd) == protocol::Receive::Message)
            judge(packet);
        talo::fuzz::require(fd == -1);
    }
    close(ends[0]);
    close(ends[1]);
    return 0;
}
