#include "service/updateconfiguration.h"

#include "engine/store/temporaryfolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>

namespace talo::service
{

namespace
{

class UpdateConfiguration : public testing::Test
{
protected:
    std::optional<UpdateSettings> read(const std::string &content, mode_t mode = 0600)
    {
        std::ofstream(file()) << content;
        EXPECT_EQ(chmod(file().c_str(), mode), 0);
        failure_.clear();
        return readUpdateSettings(file(), failure_);
    }
    std::string file() const { return folder_.file("talo.conf"); }

    TemporaryFolder folder_;
    std::string failure_;
};

} // namespace

TEST_F(UpdateConfiguration, IsTheOfficialOneWhereThereIsNoFileOrNoGroup)
{
    const auto none = readUpdateSettings("/no/such/file", failure_);
    ASSERT_TRUE(none) << failure_;
    EXPECT_TRUE(none->source.official);
    EXPECT_FALSE(none->startDelay);
    const auto other = read("[Mail]\nServer = smtp://mail.example.org\n");
    ASSERT_TRUE(other) << failure_;
    EXPECT_TRUE(other->source.databases.empty());
}

TEST_F(UpdateConfiguration, IsRead)
{
    const auto settings = read("[Update]\nOfficial = no\n"
                               "Database = https://a.example.org/a.ndb  "
                               "https://b.example.org/b.hdb\nMirror = m.example.org\n"
                               "PrivateMirror = p.example.org\nProxy = http://proxy:3128\n"
                               "ProxyUser = u\nProxyPassword = p\nUser = clamav\nTimeout = 7\n"
                               "WorkFolder = /srv/tmp\nFreshclam = /opt/freshclam\n"
                               "StartDelay = 0\n");
    ASSERT_TRUE(settings) << failure_;
    const update::SignatureSource &source = settings->source;
    EXPECT_FALSE(source.official);
    EXPECT_EQ(source.databases.size(), 2U);
    EXPECT_EQ(source.mirrors, std::vector<std::string>{"m.example.org"});
    EXPECT_EQ(source.privateMirrors, std::vector<std::string>{"p.example.org"});
    EXPECT_EQ(source.proxy, "http://proxy:3128");
    EXPECT_EQ(source.user, "clamav");
    EXPECT_EQ(source.patience, std::chrono::seconds(7));
    EXPECT_EQ(source.workFolder, "/srv/tmp");
    EXPECT_EQ(source.program, "/opt/freshclam");
    EXPECT_EQ(settings->startDelay, 0U);
}

TEST_F(UpdateConfiguration, IsRefusedWhereItSaysAnythingElse)
{
    for (const char *line :
         {"Official = perhaps", "Timeout = 0", "Timeout = -1", "Timeout = 99999", "Timeout = 5 s",
          "StartDelay =", "Mirrors = x", "nonsense", "Proxy = x", "Database = /etc/passwd",
          "User = a\nUser = b", "Mirror = a\tb"}) {
        EXPECT_FALSE(read(std::string("[Update]\n") + line + "\n")) << line;
        EXPECT_NE(failure_, "");
    }
}

TEST_F(UpdateConfiguration, IsRefusedWhereAnybodyMayWriteIt)
{
    EXPECT_FALSE(read("[Update]\nMirror = evil.example.org\n", 0602));
}

TEST_F(UpdateConfiguration, DoesNotTellAPassword)
{
    EXPECT_FALSE(read("[Update]\nProxyPassword = top secret\n"));
    EXPECT_EQ(failure_.find("top"), std::string::npos) << failure_;
}

} // namespace talo::service
