// What a desktop's network needs from outside gets through the firewall: addresses and names.
#include "engine/files/sandbox.h"
#include "engine/guard/network.h"
#include "guard/firewall.h"

#include <arpa/inet.h>
#include <array>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>

using namespace talo;
using namespace talo::test;

namespace
{

bool installed(const std::string &program)
{
    return Network::run("command -v " + program + " >/dev/null");
}

// A program of the current machine that ends with the test.
class Daemon
{
public:
    explicit Daemon(const std::string &command)
    {
        pid_ = fork();
        if (pid_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
            _exit(127);
        }
    }
    ~Daemon()
    {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

private:
    pid_t pid_ = -1;
};

bool within(std::chrono::seconds time, const std::function<bool()> &condition)
{
    const auto until = std::chrono::steady_clock::now() + time;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

files::UniqueFd boundUdp(int port, const char *device)
{
    files::UniqueFd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(fd.get(), SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    setsockopt(fd.get(), SOL_SOCKET, SO_BINDTODEVICE, device,
               static_cast<socklen_t>(std::string(device).size()));
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_port = htons(static_cast<std::uint16_t>(port));
    if (bind(fd.get(), reinterpret_cast<sockaddr *>(&own), sizeof own) != 0)
        fd.reset();
    return fd;
}

bool sendUdp(int fd, const char *address, int port, const std::string &content)
{
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(static_cast<std::uint16_t>(port));
    target.sin_addr.s_addr = inet_addr(address);
    return sendto(fd, content.data(), content.size(), 0, reinterpret_cast<sockaddr *>(&target),
                  sizeof target) == static_cast<ssize_t>(content.size());
}

class ProtocolsTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "only root may have network namespaces";
    }

    void begin(Network::Addresses addresses)
    {
        network_ = std::make_unique<Network>(addresses);
        ASSERT_TRUE(network_->ready());
        ASSERT_EQ(guard::Firewall().raise(), "");
    }

    void serveDhcp()
    {
        ASSERT_TRUE(network_->runThere("ip address add 10.91.0.2/24 dev talo1 && "
                                       "ip address add fd91::2/64 dev talo1 nodad"));
        network_->there([this] {
            dhcp_ = std::make_unique<Daemon>(
                "dnsmasq --conf-file=/dev/null --no-daemon --user=root --interface=talo1 "
                "--bind-dynamic --port=0 --dhcp-range=10.91.0.50,10.91.0.60,1h "
                "--dhcp-range=fd91::50,fd91::60,64,1h --enable-ra --leasefile-ro --pid-file= "
                ">/dev/null 2>&1");
        });
    }

    std::unique_ptr<Network> network_;
    std::unique_ptr<Daemon> dhcp_;
    TempFolder folder_;
};

// Clients ask through packet sockets at first, which no firewall sees; later through ordinary ones.
TEST_F(ProtocolsTest, LetsAnswersOfADhcpServerIn)
{
    begin(Network::Addresses::Given);
    const files::UniqueFd client = boundUdp(68, kOurLink);
    files::UniqueFd server;
    files::UniqueFd other;
    network_->there([&] {
        server = boundUdp(67, kTheirLink);
        other = boundUdp(66, kTheirLink);
    });
    ASSERT_TRUE(client && server && other);
    ASSERT_TRUE(sendUdp(other.get(), "255.255.255.255", 68, "not a server"));
    EXPECT_FALSE(readable(client.get(), 200));
    ASSERT_TRUE(sendUdp(server.get(), "255.255.255.255", 68, "offer"));
    EXPECT_TRUE(readable(client.get(), 1000));
}

TEST_F(ProtocolsTest, GetsAnAddressByDhcp)
{
    if (!installed("dnsmasq") || !installed("udhcpc"))
        GTEST_SKIP() << "dnsmasq-base and udhcpc are needed";
    begin(Network::Addresses::None);
    serveDhcp();
    EXPECT_TRUE(Network::run("udhcpc -i talo0 -n -q -f -t 10 -T 1 -s /bin/true 2>&1 | "
                             "grep -q 'lease of 10.91.0'"));
}

TEST_F(ProtocolsTest, GetsAnAddressByDhcp6)
{
    if (!installed("dnsmasq") || !installed("dhclient"))
        GTEST_SKIP() << "dnsmasq-base and isc-dhcp-client are needed";
    begin(Network::Addresses::None);
    serveDhcp();
    ASSERT_TRUE(within(std::chrono::seconds(10), [] {
        return Network::run("ip -6 address show dev talo0 scope link | grep inet6 | "
                            "grep -qv tentative");
    }));
    const std::string lease = folder_ / "lease";
    EXPECT_TRUE(Network::run("timeout 20 dhclient -6 -1 -d -sf /bin/true -lf " + lease +
                             " -pf /dev/null talo0 >/dev/null 2>&1 & client=$!; "
                             "for i in $(seq 150); do grep -qs 'iaaddr fd91::' " +
                             lease +
                             " && break; sleep 0.1; done; kill $client; "
                             "grep -q 'iaaddr fd91::' " +
                             lease));
}

TEST_F(ProtocolsTest, ListensToTheRouter)
{
    if (!installed("dnsmasq"))
        GTEST_SKIP() << "dnsmasq-base is needed";
    begin(Network::Addresses::None);
    serveDhcp();
    EXPECT_TRUE(within(std::chrono::seconds(15), [] {
        return Network::run("ip -6 route show default | grep -q 'proto ra'");
    }));
}

// A question for the address of "talotest.local" from a port of the asker's own: the answer goes to
// it alone, so what the daemon announces by itself cannot be taken for one.
TEST_F(ProtocolsTest, AnswersQuestionsForItsName)
{
    if (!installed("avahi-daemon"))
        GTEST_SKIP() << "avahi-daemon is needed";
    begin(Network::Addresses::Given);
    writeFile(folder_ / "conf", "[server]\nhost-name=talotest\nuse-ipv6=no\n"
                                "allow-interfaces=talo0\nenable-dbus=no\n");
    const Daemon avahi("unshare -m sh -c 'mount -t tmpfs tmpfs /run && exec avahi-daemon "
                       "--no-drop-root --no-chroot --no-rlimits -f " +
                       (folder_ / "conf") + "' >/dev/null 2>&1");
    files::UniqueFd asker;
    network_->there([&] {
        asker = boundUdp(0, kTheirLink);
        ip_mreqn interface {
        };
        interface.imr_ifindex = static_cast<int>(if_nametoindex(kTheirLink));
        setsockopt(asker.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface);
    });
    ASSERT_TRUE(asker);
    const std::string question = std::string("\0\0\0\0\0\1\0\0\0\0\0\0", 12) + "\x08" + "talotest" +
                                 "\x05" + "local" + std::string("\0\0\1\0\1", 5);
    EXPECT_TRUE(within(std::chrono::seconds(10), [&] {
        if (!sendUdp(asker.get(), "224.0.0.251", 5353, question) || !readable(asker.get(), 1500))
            return false;
        std::array<char, 1500> buffer{};
        const ssize_t length = recv(asker.get(), buffer.data(), buffer.size(), 0);
        return length > 12 && (static_cast<unsigned char>(buffer[2]) & 0x80U) != 0;
    }));
}

TEST_F(ProtocolsTest, LetsQuestionsForNamesIn)
{
    begin(Network::Addresses::Given);
    const files::UniqueFd listener = boundUdp(5353, kOurLink);
    ip_mreqn group{};
    group.imr_multiaddr.s_addr = inet_addr("224.0.0.251");
    group.imr_ifindex = static_cast<int>(if_nametoindex(kOurLink));
    ASSERT_EQ(setsockopt(listener.get(), IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group), 0);
    files::UniqueFd asker;
    network_->there([&] {
        asker = boundUdp(0, kTheirLink);
        ip_mreqn interface {
        };
        interface.imr_ifindex = static_cast<int>(if_nametoindex(kTheirLink));
        setsockopt(asker.get(), IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface);
    });
    ASSERT_TRUE(sendUdp(asker.get(), kOurs4, 5353, "to us alone"));
    EXPECT_FALSE(readable(listener.get(), 200));
    ASSERT_TRUE(sendUdp(asker.get(), "224.0.0.251", 5353, "to all"));
    EXPECT_TRUE(readable(listener.get(), 1000));
}

} // namespace
