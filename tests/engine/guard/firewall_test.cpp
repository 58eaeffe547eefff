// The firewall in the kernel, between two machines that are network namespaces of this process.
#include "engine/files/sandbox.h"
#include "engine/guard/network.h"
#include "guard/firewall.h"
#include "guard/tablewatch.h"

#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

using namespace talo;
using namespace talo::test;
using guard::Firewall;
using guard::TableWatch;
using Standing = guard::Firewall::Standing;

namespace
{

constexpr std::array<Protocol, 2> kProtocols{Protocol::Tcp, Protocol::Udp};
constexpr std::array<Family, 2> kFamilies{Family::Four, Family::Six};
constexpr int kPort = 4711;
constexpr int kMany = 40; // more echo requests than the limit lets through
constexpr char kOtherTable[] =
    "nft 'add table inet other; add chain inet other input { type filter "
    "hook input priority 0; }; add rule inet other input tcp dport 9 "
    "counter'";
constexpr char kOtherStands[] = "nft list table inet other | grep -q 'tcp dport 9'";

const char *ours(Family family)
{
    return family == Family::Four ? kOurs4 : kOurs6;
}

const char *theirs(Family family)
{
    return family == Family::Four ? kTheirs4 : kTheirs6;
}

class FirewallTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!isRoot())
            GTEST_SKIP() << "only root may have network namespaces";
        network_ = std::make_unique<Network>();
        ASSERT_TRUE(network_->ready());
        firewall_ = std::make_unique<Firewall>();
    }

    bool comesIn(Protocol protocol, Family family)
    {
        const files::UniqueFd server = serve(protocol, family, ours(family), kPort);
        bool reached = false;
        network_->there(
            [&] { reached = reaches(protocol, family, ours(family), kPort, server.get()); });
        return reached;
    }

    bool goesOut(Protocol protocol, Family family)
    {
        files::UniqueFd server;
        network_->there([&] { server = serve(protocol, family, theirs(family), kPort); });
        return reaches(protocol, family, theirs(family), kPort, server.get());
    }

    int pingedFromThere(Family family, int requests)
    {
        int answers = 0;
        network_->there([&] { answers = pinged(family, ours(family), requests); });
        return answers;
    }

    // One end of a connection that they opened to us, and the other.
    std::pair<files::UniqueFd, files::UniqueFd> connection(Family family)
    {
        const files::UniqueFd server = serve(Protocol::Tcp, family, ours(family), kPort);
        files::UniqueFd away;
        network_->there([&] { away = connectTo(family, ours(family), kPort); });
        readable(server.get(), 1000);
        return {files::UniqueFd(accept(server.get(), nullptr, nullptr)), std::move(away)};
    }

    std::unique_ptr<Network> network_;
    std::unique_ptr<Firewall> firewall_;
};

TEST_F(FirewallTest, IsOpenWhileOff)
{
    EXPECT_EQ(firewall_->state().standing, Standing::Absent);
    for (const Protocol protocol : kProtocols)
        for (const Family family : kFamilies) {
            EXPECT_TRUE(comesIn(protocol, family));
            EXPECT_TRUE(goesOut(protocol, family));
        }
    EXPECT_EQ(firewall_->raise(), "");
    EXPECT_EQ(firewall_->lower(), "");
    EXPECT_EQ(firewall_->state().standing, Standing::Absent);
    EXPECT_EQ(firewall_->lower(), "");
    for (const Protocol protocol : kProtocols)
        for (const Family family : kFamilies)
            EXPECT_TRUE(comesIn(protocol, family));
}

TEST_F(FirewallTest, LetsOutAndNotIn)
{
    ASSERT_EQ(firewall_->raise(), "");
    EXPECT_EQ(firewall_->state().standing, Standing::Whole);
    for (const Protocol protocol : kProtocols)
        for (const Family family : kFamilies) {
            EXPECT_FALSE(comesIn(protocol, family));
            EXPECT_TRUE(goesOut(protocol, family));
        }
}

TEST_F(FirewallTest, LeavesLoopbackAlone)
{
    ASSERT_EQ(firewall_->raise(), "");
    for (const Protocol protocol : kProtocols)
        for (const Family family : kFamilies) {
            const char *const own = family == Family::Four ? "127.0.0.1" : "::1";
            const files::UniqueFd server = serve(protocol, family, own, kPort);
            EXPECT_TRUE(reaches(protocol, family, own, kPort, server.get()));
        }
}

TEST_F(FirewallTest, AnswersPingsUpToTheLimit)
{
    for (const Family family : kFamilies)
        EXPECT_EQ(pingedFromThere(family, kMany), kMany);
    ASSERT_EQ(firewall_->raise(), "");
    for (const Family family : kFamilies) {
        EXPECT_EQ(pingedFromThere(family, 5), 5);
        const int answered = pingedFromThere(family, kMany);
        EXPECT_GT(answered, 0);
        EXPECT_LT(answered, kMany / 2);
        EXPECT_EQ(pinged(family, theirs(family), kMany), kMany);
    }
}

// Also with what comes from the other end first, which has sent nothing since the rules stand.
TEST_F(FirewallTest, KeepsConnectionsThatAreOlder)
{
    for (const Family family : kFamilies) {
        const auto [here, away] = connection(family);
        ASSERT_TRUE(here && away);
        ASSERT_EQ(firewall_->raise(), "");
        ASSERT_EQ(send(away.get(), "still there?", 12, 0), 12);
        EXPECT_TRUE(readable(here.get(), 1000));
        ASSERT_EQ(send(here.get(), "yes", 3, 0), 3);
        EXPECT_TRUE(readable(away.get(), 1000));
        EXPECT_FALSE(comesIn(Protocol::Tcp, family));
        ASSERT_EQ(firewall_->lower(), "");
    }
}

TEST_F(FirewallTest, ChangesUnderARunningStream)
{
    const auto [here, away] = connection(Family::Four);
    ASSERT_TRUE(here && away);
    std::size_t received = 0;
    std::size_t sent = 0;
    std::chrono::milliseconds longestPause{0};
    auto last = std::chrono::steady_clock::now();
    const std::vector<char> block(16384, 'x');
    std::vector<char> buffer(65536);
    for (int change = 0; change < 60; ++change) {
        ASSERT_EQ(change % 2 == 0 ? firewall_->raise() : firewall_->lower(), "");
        const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(10);
        while (std::chrono::steady_clock::now() < until) {
            const ssize_t out = send(away.get(), block.data(), block.size(), MSG_NOSIGNAL);
            sent += out > 0 ? static_cast<std::size_t>(out) : 0;
            readable(here.get(), 1);
            const ssize_t in = recv(here.get(), buffer.data(), buffer.size(), 0);
            if (in > 0) {
                const auto now = std::chrono::steady_clock::now();
                longestPause =
                    std::max(longestPause,
                             std::chrono::duration_cast<std::chrono::milliseconds>(now - last));
                last = now;
                received += static_cast<std::size_t>(in);
            }
        }
    }
    while (received < sent && readable(here.get(), 2000)) {
        const ssize_t in = recv(here.get(), buffer.data(), buffer.size(), 0);
        ASSERT_GT(in, 0);
        received += static_cast<std::size_t>(in);
    }
    EXPECT_EQ(received, sent);
    EXPECT_GT(received, std::size_t{1} << 20U);
    // Packets that are dropped time after time are sent again after 200 ms, 400 ms, 800 ms, ….
    EXPECT_LT(longestPause.count(), 1000);
}

TEST_F(FirewallTest, IsNeverOpenWhileItIsReplaced)
{
    ASSERT_EQ(firewall_->raise(), "");
    const files::UniqueFd server = serve(Protocol::Udp, Family::Four, kOurs4, kPort);
    files::UniqueFd client;
    network_->there(
        [&] { client = files::UniqueFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)); });
    std::atomic<bool> stop{false};
    std::thread knocking([&] {
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(kPort);
        target.sin_addr.s_addr = inet_addr(kOurs4);
        while (!stop)
            sendto(client.get(), "x", 1, 0, reinterpret_cast<sockaddr *>(&target), sizeof target);
    });
    for (int round = 0; round < 50; ++round)
        EXPECT_EQ(firewall_->raise(), "");
    stop = true;
    knocking.join();
    EXPECT_FALSE(readable(server.get(), 50));
}

TEST_F(FirewallTest, LeavesOtherTablesAlone)
{
    ASSERT_TRUE(Network::run(kOtherTable));
    ASSERT_EQ(firewall_->raise(), "");
    EXPECT_TRUE(Network::run(kOtherStands));
    ASSERT_EQ(firewall_->raise(), "");
    ASSERT_EQ(firewall_->lower(), "");
    EXPECT_TRUE(Network::run(kOtherStands));
}

TEST_F(FirewallTest, NoticesWhatOthersDoToIt)
{
    auto watch = TableWatch::open();
    ASSERT_TRUE(watch);
    EXPECT_FALSE(watch->take());
    for (const char *const deed : {"nft flush ruleset", "nft delete table inet taloantivirus",
                                   "nft flush chain inet taloantivirus input",
                                   "nft insert rule inet taloantivirus input tcp dport 22 accept",
                                   "nft 'chain inet taloantivirus input { policy accept; }'"}) {
        ASSERT_EQ(firewall_->raise(), "");
        EXPECT_EQ(firewall_->state().standing, Standing::Whole);
        watch->take();
        ASSERT_TRUE(Network::run(deed)) << deed;
        EXPECT_TRUE(readable(watch->fd(), 1000)) << deed;
        EXPECT_TRUE(watch->take());
        EXPECT_NE(firewall_->state().standing, Standing::Whole) << deed;
    }
    ASSERT_EQ(firewall_->raise(), "");
    EXPECT_EQ(firewall_->state().standing, Standing::Whole);
    EXPECT_FALSE(comesIn(Protocol::Tcp, Family::Four));
}

TEST_F(FirewallTest, KnowsOtherFirewalls)
{
    EXPECT_TRUE(firewall_->others().empty());
    ASSERT_TRUE(
        Network::run("nft 'add table inet firewalld; add chain inet firewalld filter_INPUT'"));
    ASSERT_TRUE(Network::run("nft 'add table ip filter; add chain ip filter ufw-user-input'"));
    EXPECT_EQ(firewall_->others(), (std::vector<std::string>{"firewalld", "ufw"}));
}

TEST_F(FirewallTest, NeedsTheRightToIt)
{
    const std::string failure = asNobody([this]() -> std::string {
        Firewall firewall;
        if (firewall.state().standing == Standing::Whole)
            return "it stands";
        return firewall.raise();
    });
    EXPECT_NE(failure.find("Operation not permitted"), std::string::npos) << failure;
    EXPECT_EQ(firewall_->state().standing, Standing::Absent);
}

} // namespace
