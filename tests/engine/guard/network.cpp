#include "engine/guard/network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netinet/icmp6.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <vector>

namespace talo::test
{

namespace
{

// In milliseconds. Between namespaces of one machine a packet takes microseconds; the rest is for a
// machine that is busy with other tests.
constexpr int kSurely = 2000;

struct Address {
    sockaddr_storage storage{};
    socklen_t length = 0;
    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&storage); }
};

Address addressOf(Family family, const char *text, int port)
{
    Address address;
    if (family == Family::Four) {
        auto *const four = reinterpret_cast<sockaddr_in *>(&address.storage);
        four->sin_family = AF_INET;
        four->sin_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET, text, &four->sin_addr);
        address.length = sizeof *four;
    } else {
        auto *const six = reinterpret_cast<sockaddr_in6 *>(&address.storage);
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(static_cast<std::uint16_t>(port));
        inet_pton(AF_INET6, text, &six->sin6_addr);
        address.length = sizeof *six;
    }
    return address;
}

files::UniqueFd newSocket(Family family, int type, int protocol = 0)
{
    return files::UniqueFd(socket(family == Family::Four ? AF_INET : AF_INET6,
                                  type | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
}

bool reachesByUdp(Family family, const char *address, int port, int server)
{
    const files::UniqueFd client = newSocket(family, SOCK_DGRAM);
    const Address target = addressOf(family, address, port);
    if (connect(client.get(), target.get(), target.length) != 0 ||
        send(client.get(), "question", 8, 0) != 8 || !readable(server, kSurely))
        return false;
    std::array<char, 16> buffer{};
    sockaddr_storage from{};
    socklen_t length = sizeof from;
    if (recvfrom(server, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr *>(&from),
                 &length) != 8 ||
        sendto(server, "answer", 6, 0, reinterpret_cast<sockaddr *>(&from), length) != 6)
        return false;
    return readable(client.get(), kSurely);
}

std::uint16_t checksum(const std::vector<unsigned char> &packet)
{
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at + 1 < packet.size(); at += 2)
        sum += static_cast<std::uint32_t>(packet[at] << 8U | packet[at + 1]);
    while (sum >> 16U != 0)
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    return htons(static_cast<std::uint16_t>(~sum));
}

} // namespace

Network::Network(Addresses addresses)
{
    const auto current = [] {
        return files::UniqueFd(open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
    };
    home_ = current();
    if (unshare(CLONE_NEWNET) != 0)
        return;
    theirs_ = current();
    holder_ = fork();
    if (holder_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;)
            pause();
    }
    if (unshare(CLONE_NEWNET) != 0)
        return;
    ours_ = current();
    ready_ = holder_ > 0 && wire(addresses);
}

Network::~Network()
{
    if (holder_ > 0) {
        kill(holder_, SIGKILL);
        waitpid(holder_, nullptr, 0);
    }
    if (home_)
        setns(home_.get(), CLONE_NEWNET);
}

bool Network::wire(Addresses addresses)
{
    const std::string link = kOurLink;
    const auto setUp = [](const std::string &name) {
        return "ip link set lo up && ip link set " + name + " up";
    };
    // What is sent before the kernel has noticed that a link is up is lost.
    const auto awaitUp = [](const std::string &name) {
        return "for try in $(seq 300); do ip link show " + name +
               " | grep -q 'state UP' && exit; sleep 0.1; done; exit 1";
    };
    bool done = run("ip link add " + link + " type veth peer name " + kTheirLink + " netns " +
                    std::to_string(holder_)) &&
                run(setUp(link)) && runThere(setUp(kTheirLink)) && run(awaitUp(link)) &&
                runThere(awaitUp(kTheirLink));
    if (done && addresses == Addresses::Given)
        done = run("ip address add 10.91.0.1/24 dev talo0 && "
                   "ip address add fd91::1/64 dev talo0 nodad") &&
               runThere("ip address add 10.91.0.2/24 dev talo1 && "
                        "ip address add fd91::2/64 dev talo1 nodad");
    return done;
}

void Network::there(const std::function<void()> &work) const
{
    if (setns(theirs_.get(), CLONE_NEWNET) != 0)
        std::abort();
    work();
    if (setns(ours_.get(), CLONE_NEWNET) != 0)
        std::abort();
}

bool Network::run(const std::string &command)
{
    return std::system(command.c_str()) == 0;
}

bool Network::runThere(const std::string &command) const
{
    bool done = false;
    there([&] { done = run(command); });
    return done;
}

bool readable(int fd, int milliseconds)
{
    pollfd wait{fd, POLLIN, 0};
    return poll(&wait, 1, milliseconds) == 1 && (wait.revents & POLLIN) != 0;
}

files::UniqueFd serve(Protocol protocol, Family family, const char *address, int port)
{
    const bool tcp = protocol == Protocol::Tcp;
    files::UniqueFd server = newSocket(family, tcp ? SOCK_STREAM : SOCK_DGRAM);
    const int on = 1;
    setsockopt(server.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const Address own = addressOf(family, address, port);
    if (bind(server.get(), own.get(), own.length) != 0 ||
        (tcp && listen(server.get(), SOMAXCONN) != 0))
        server.reset();
    return server;
}

files::UniqueFd connectTo(Family family, const char *address, int port)
{
    files::UniqueFd client = newSocket(family, SOCK_STREAM);
    const Address target = addressOf(family, address, port);
    if (connect(client.get(), target.get(), target.length) != 0 && errno != EINPROGRESS)
        return {};
    pollfd wait{client.get(), POLLOUT, 0};
    int error = 0;
    socklen_t length = sizeof error;
    if (poll(&wait, 1, kSurely) != 1 ||
        getsockopt(client.get(), SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0)
        return {};
    return client;
}

bool reaches(Protocol protocol, Family family, const char *address, int port, int server)
{
    if (protocol == Protocol::Udp)
        return reachesByUdp(family, address, port, server);
    return static_cast<bool>(connectTo(family, address, port));
}

int pinged(Family family, const char *address, int requests)
{
    const bool four = family == Family::Four;
    const files::UniqueFd raw =
        newSocket(family, SOCK_RAW, four ? int{IPPROTO_ICMP} : int{IPPROTO_ICMPV6});
    const Address target = addressOf(family, address, 0);
    for (int number = 0; number < requests; ++number) {
        // Type, code, checksum, identifier, number; the kernel fills in the checksum of version 6.
        std::vector<unsigned char> packet{
            static_cast<unsigned char>(four ? ICMP_ECHO : ICMP6_ECHO_REQUEST),
            0,
            0,
            0,
            0x7A,
            0x10,
            0,
            static_cast<unsigned char>(number)};
        const std::uint16_t sum = checksum(packet);
        if (four)
            std::memcpy(&packet[2], &sum, sizeof sum);
        if (sendto(raw.get(), packet.data(), packet.size(), 0, target.get(), target.length) < 0)
            return -1;
    }
    int answers = 0;
    std::array<unsigned char, 1500> buffer{};
    while (readable(raw.get(), kSurely)) {
        const ssize_t length = recv(raw.get(), buffer.data(), buffer.size(), 0);
        const std::size_t header = four ? 20 : 0;
        const int reply = four ? ICMP_ECHOREPLY : ICMP6_ECHO_REPLY;
        if (length > static_cast<ssize_t>(header) && buffer.at(header) == reply)
            ++answers;
    }
    return answers;
}

} // namespace talo::test
