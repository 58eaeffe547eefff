// A server that lies: does what the file "how" in its signature folder says.
#include "scan/workerprotocol.h"

#include <array>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace
{

namespace protocol = talo::scan::protocol;

std::string order()
{
    std::array<char, 64> text{};
    const int fd = fchdir(protocol::kSignaturesFd) == 0 ? open("how", O_RDONLY | O_CLOEXEC) : -1;
    const ssize_t length = fd < 0 ? 0 : read(fd, text.data(), text.size());
    return std::string(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
}

void announce(unsigned signatures)
{
    protocol::Loaded loaded;
    loaded.signatures = signatures;
    protocol::send(protocol::kControlFd, loaded, 0);
}

void sayEnded(std::uint32_t slot, std::uint32_t generation)
{
    protocol::Ended ended;
    ended.slot = slot;
    ended.generation = generation;
    ended.by = static_cast<protocol::EndedBy>(77);
    ended.number = -12345;
    protocol::send(protocol::kControlFd, ended, 0);
}

} // namespace

int main()
{
    const std::string how = order();
    if (how == "exit")
        return 3;
    if (how == "garbage") {
        const std::array<char, 5000> packet{};
        send(protocol::kControlFd, packet.data(), packet.size(), MSG_NOSIGNAL);
    } else if (how == "failure too long") {
        protocol::LoadFailed failed;
        failed.reason.length = 0x7fffffff;
        protocol::send(protocol::kControlFd, failed, 0);
    } else if (how == "binary failure") {
        protocol::LoadFailed failed;
        failed.reason.set("\x1b[2Jno\n");
        protocol::send(protocol::kControlFd, failed, 0);
    } else if (how == "descriptor") {
        protocol::send(protocol::kControlFd, protocol::Loaded{}, 0, 0);
    } else if (how == "slot") {
        announce(1);
        sayEnded(4000000000u, 0);
    } else if (how == "ends workers") {
        announce(1);
        for (;;) {
            protocol::Packet packet;
            protocol::Fork fork;
            int socket = -1;
            if (protocol::receive(protocol::kControlFd, packet, 0, protocol::Descriptors::Accept,
                                  &socket) != protocol::Receive::Message)
                return 0;
            if (socket >= 0)
                close(socket);
            if (packet.read(fork))
                sayEnded(fork.slot, fork.generation);
        }
    } else if (how == "loads and ends") {
        announce(1);
        return 0;
    }
    // Whatever else: silent, until the pool closes the socket or kills it.
    protocol::Packet packet;
    int socket = -1;
    while (protocol::receive(protocol::kControlFd, packet, 0, protocol::Descriptors::Accept,
                             &socket) == protocol::Receive::Message)
        if (socket >= 0)
            close(socket);
    return 0;
}
