// The publisher's tool makes what the program believes.
#include "engine/store/temporaryfolder.h"
#include "update/productmanifest.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <sodium.h>
#include <sys/stat.h>

namespace talo::update
{

namespace
{

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct Ended {
    int code = -1;
    std::string out;
};

Ended run(const std::string &command)
{
    Ended result;
    std::FILE *const pipe = popen((command + " 2>&1").c_str(), "r");
    std::array<char, 4096> part{};
    while (std::fgets(part.data(), part.size(), pipe) != nullptr)
        result.out += part.data();
    result.code = pclose(pipe);
    return result;
}

class ReleaseTool : public testing::Test
{
protected:
    void SetUp() override
    {
        if (run("python3 -c 'import nacl.signing' && dpkg-deb --version").code != 0)
            GTEST_SKIP() << "needs python3-nacl and dpkg";
        const Ended made = run(tool_ + " key " + secret_);
        ASSERT_EQ(made.code, 0) << made.out;
        ASSERT_EQ(sodium_hex2bin(key_.data(), key_.size(), made.out.data(), made.out.size(), "\n",
                                 nullptr, nullptr),
                  0);
    }
    std::string makePackage(const std::string &name, const std::string &version)
    {
        const std::string tree = folder_.file("tree");
        EXPECT_EQ(run("mkdir -p " + tree + "/DEBIAN").code, 0);
        std::ofstream(tree + "/DEBIAN/control") << "Package: " << name << "\nVersion: " << version
                                                << "\nArchitecture: " << thisArchitecture()
                                                << "\nMaintainer: nobody <nobody@example.org>\n"
                                                << "Description: harmless\n";
        const std::string file = folder_.file("made.deb");
        EXPECT_EQ(run("dpkg-deb --root-owner-group --build " + tree + " " + file).code, 0);
        return file;
    }
    std::string manifest() const
    {
        return folder_.file(std::string("release-") + thisArchitecture() + ".json");
    }

    TemporaryFolder folder_;
    std::string tool_ = TALO_RELEASE_TOOL;
    std::string secret_ = folder_.file("secret");
    ReleaseKey key_{};
};

} // namespace

TEST_F(ReleaseTool, MakesWhatTheProgramBelieves)
{
    const std::string package = makePackage("taloantivirus", "1.2.3-1");
    const Ended made = run(tool_ + " make " + secret_ + " " + package +
                           " --date 2026-11-21 --notes 'Größer \"und\" besser'");
    ASSERT_EQ(made.code, 0) << made.out;
    const auto release = readManifest(contentOf(manifest()), contentOf(manifest() + ".sig"), key_);
    ASSERT_TRUE(release) << release.error().text;
    EXPECT_EQ(release->version, "1.2.3");
    EXPECT_EQ(release->date, "2026-11-21");
    EXPECT_EQ(release->notes, "Größer \"und\" besser");
    EXPECT_EQ(release->package, "made.deb");
    EXPECT_EQ(release->size, contentOf(package).size());
}

TEST_F(ReleaseTool, KeepsTheKeyToItself)
{
    struct stat status {
    };
    ASSERT_EQ(stat(secret_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_NE(run(tool_ + " key " + secret_).code, 0); // never replaced
    ASSERT_EQ(chmod(secret_.c_str(), 0644), 0);
    const std::string package = makePackage("taloantivirus", "1.2.3");
    EXPECT_NE(run(tool_ + " make " + secret_ + " " + package + " --notes x").code, 0);
    EXPECT_EQ(contentOf(manifest()), "");
}

TEST_F(ReleaseTool, RefusesWhatNoProgramWouldTake)
{
    const std::string make = tool_ + " make " + secret_ + " ";
    EXPECT_NE(run(make + makePackage("another", "1.2.3") + " --notes x").code, 0);
    EXPECT_NE(run(make + makePackage("taloantivirus", "1.2.3~rc1") + " --notes x").code, 0);
    const std::string good = makePackage("taloantivirus", "1.2.3");
    EXPECT_NE(run(make + good + " --notes x --date yesterday").code, 0);
    EXPECT_NE(run(make + folder_.file("missing") + " --notes x").code, 0);
    EXPECT_EQ(contentOf(manifest()), "");
    EXPECT_EQ(run(make + good + " --notes x").code, 0);
}

} // namespace talo::update
