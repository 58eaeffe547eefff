// Installing: real packages of harmless content on a root of their own, and a package tool that
// fails or outlives the service.
#include "engine/update/updatefixture.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
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

void write(const std::string &path, const std::string &content, mode_t mode = 0644)
{
    std::ofstream(path, std::ios::binary) << content;
    chmod(path.c_str(), mode);
}

int shell(const std::string &command)
{
    return std::system((command + " >/dev/null 2>&1").c_str()); // NOLINT(concurrency-mt-unsafe)
}

class ProductInstallTest : public UpdateFixture
{
protected:
    void SetUp() override
    {
        UpdateFixture::SetUp();
        if (!isRoot())
            GTEST_SKIP() << "needs root: only root's service installs packages";
        root_ = folder_.file("root");
        const std::string administration = root_ + "/var/lib/dpkg";
        ASSERT_EQ(shell("mkdir -p " + administration + "/info " + administration + "/updates"), 0);
        write(administration + "/status", "");
        write(administration + "/available", "");
        config_.installer.command = {"/usr/bin/dpkg", "--root=" + root_,
                                     "--force-script-chrootless", "--log=/dev/null", "--install"};
    }

    // The bytes of a package with one file that tells its version.
    std::string makePackage(const std::string &version, const std::string &script = {},
                            const std::string &body = {})
    {
        const std::string tree = folder_.file("tree");
        EXPECT_EQ(shell("rm -rf " + tree + " && mkdir -p " + tree + "/DEBIAN " + tree + "/opt"), 0);
        write(tree + "/DEBIAN/control", "Package: taloantivirus-sample\nVersion: " + version +
                                            "\nArchitecture: " + thisArchitecture() +
                                            "\nMaintainer: nobody <nobody@example.org>\n"
                                            "Description: harmless\n");
        write(tree + "/opt/sample", version);
        if (!script.empty())
            write(tree + "/DEBIAN/" + script, "#!/bin/sh\n" + body + "\n", 0755);
        const std::string file = folder_.file("made.deb");
        EXPECT_EQ(shell("dpkg-deb --root-owner-group --build " + tree + " " + file), 0);
        return contentOf(file);
    }
    void publishPackage(const std::string &version, const std::string &bytes)
    {
        package_ = bytes;
        test::ReleaseText release;
        release.version = version;
        publish(release);
    }
    std::string installedFile() const { return contentOf(root_ + "/opt/sample"); }
    std::string status() const
    {
        const std::string command = "dpkg-query --admindir=" + root_ +
                                    "/var/lib/dpkg -f '${Version} ${db:Status-Status}' "
                                    "-W taloantivirus-sample 2>/dev/null";
        std::FILE *const pipe = popen(command.c_str(), "r");
        std::array<char, 256> line{};
        const bool read = std::fgets(line.data(), line.size(), pipe) != nullptr;
        pclose(pipe);
        return read ? line.data() : "";
    }
    void installOld()
    {
        publishPackage("1.0.0", makePackage("1.0.0"));
        ASSERT_EQ(run().state, ProductState::Installed) << update_->progress().problem;
        ASSERT_EQ(status(), "1.0.0 installed");
        config_.installedVersion = "1.0.0";
        update_.reset();
    }

    std::string root_;
};

} // namespace

TEST_F(ProductInstallTest, ReplacesTheOldVersionByANewerOne)
{
    installOld();
    publishPackage("1.1.0", makePackage("1.1.0"));
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Installed) << end.problem;
    EXPECT_EQ(end.version, "1.1.0");
    EXPECT_EQ(status(), "1.1.0 installed");
    EXPECT_EQ(installedFile(), "1.1.0");
}

TEST_F(ProductInstallTest, LeavesTheOldVersionWhereThePackageRefuses)
{
    installOld();
    publishPackage("1.1.0",
                   makePackage("1.1.0", "preinst", "echo this machine will not do; exit 3"));
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_NE(end.problem.find("this machine will not do"), std::string::npos) << end.problem;
    EXPECT_NE(end.problem.find("the version before stays"), std::string::npos);
    EXPECT_EQ(status(), "1.0.0 installed");
    EXPECT_EQ(installedFile(), "1.0.0");
}

// The new files are in place by then: the package before is put back over them.
TEST_F(ProductInstallTest, PutsTheOldVersionBackWhereAScriptFailsLate)
{
    installOld();
    publishPackage("1.1.0", makePackage("1.1.0", "postinst", "echo cannot start; exit 4"));
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_NE(end.problem.find("cannot start"), std::string::npos) << end.problem;
    EXPECT_NE(end.problem.find("the version before stays"), std::string::npos) << end.problem;
    EXPECT_EQ(status(), "1.0.0 installed");
    EXPECT_EQ(installedFile(), "1.0.0");
}

TEST_F(ProductInstallTest, DoesNotClaimToHavePutBackWhatWasNotKept)
{
    publishPackage("1.1.0", makePackage("1.1.0", "postinst", "exit 4"));
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_NE(end.problem.find("no package of the version before"), std::string::npos);
    config_.installer.command = {"/bin/false"};
    write(keptPackage(config_.folder), "x");
    update_.reset();
    const ProductProgress again = run();
    EXPECT_NE(again.problem.find("could not be put back"), std::string::npos) << again.problem;
}

TEST_F(ProductInstallTest, RunsThePackageToolAsAnAdministratorWould)
{
    const std::string told = folder_.file("told");
    config_.installer.command = {"/bin/sh", "-c",
                                 "{ umask; env; grep SigIgn /proc/self/status; } > " + told};
    std::signal(SIGPIPE, SIG_IGN);
    const mode_t before = umask(0077);
    EXPECT_EQ(run().state, ProductState::Installed);
    umask(before);
    std::signal(SIGPIPE, SIG_DFL);
    const std::string content = contentOf(told);
    EXPECT_EQ(content.find("0022\n"), 0u) << content;
    EXPECT_NE(content.find("DEBIAN_FRONTEND=noninteractive"), std::string::npos);
    EXPECT_EQ(content.find("USER"), std::string::npos);
    const std::size_t ignored = content.find("SigIgn:");
    ASSERT_NE(ignored, std::string::npos);
    const auto signals = std::stoull(content.substr(ignored + 7), nullptr, 16);
    EXPECT_EQ(signals & (1ULL << (SIGPIPE - 1)), 0u) << content;
}

TEST_F(ProductInstallTest, LeavesTheOldVersionWhereThePackageIsNone)
{
    installOld();
    publishPackage("1.1.0", "this is no package");
    EXPECT_EQ(run().state, ProductState::Failed);
    EXPECT_EQ(status(), "1.0.0 installed");
    EXPECT_EQ(installedFile(), "1.0.0");
}

TEST_F(ProductInstallTest, LeavesTheOldVersionWhereABitIsFlipped)
{
    installOld();
    const std::string good = makePackage("1.1.0");
    publishPackage("1.1.0", good);
    for (std::size_t at = 0; at < good.size(); at += good.size() / 16) {
        std::string altered = good;
        altered[at] = static_cast<char>(altered[at] ^ 1);
        serve(altered);
        EXPECT_EQ(run().state, ProductState::Failed);
        EXPECT_EQ(status(), "1.0.0 installed");
    }
    EXPECT_EQ(installedFile(), "1.0.0");
}

TEST_F(ProductInstallTest, SaysWhenThePackageToolIsMissing)
{
    config_.installer.command = {"/nowhere/dpkg"};
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_NE(end.problem.find("/nowhere/dpkg"), std::string::npos) << end.problem;
}

TEST_F(ProductInstallTest, SaysWhenTheHelperIsMissing)
{
    config_.installer.helper = "/nowhere/helper";
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_NE(end.problem.find("/nowhere/helper"), std::string::npos) << end.problem;
}

// The package's scripts end the service that had it installed.
TEST_F(ProductInstallTest, GoesOnWithoutTheService)
{
    const std::string gate = folder_.file("gate");
    config_.installer.command = {"/bin/sh", "-c",
                                 "while [ ! -e " + gate + " ]; do sleep 0.05; done"};
    update_ = std::make_unique<ProductUpdate>(config_);
    ASSERT_TRUE(update_->begin(ProductUpdate::Want::Install));
    ASSERT_TRUE(awaitState(ProductState::Installing));
    while (!installed())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(update_->stop()); // too late
    update_.reset();

    update_ = std::make_unique<ProductUpdate>(config_); // the service's next life
    EXPECT_EQ(update_->progress().state, ProductState::Installing);
    EXPECT_FALSE(update_->begin(ProductUpdate::Want::Install));
    write(gate, "");
    EXPECT_EQ(await().state, ProductState::Installed);
    update_ = std::make_unique<ProductUpdate>(config_);
    EXPECT_EQ(update_->progress().state, ProductState::Installed);
    EXPECT_EQ(update_->progress().version, "99.0.0");
}

TEST_F(ProductInstallTest, TellsOfAnInstallationThatWasCutOff)
{
    ASSERT_EQ(mkdir(config_.folder.c_str(), 0700), 0);
    ASSERT_EQ(writeInstallation(config_.folder, {Installation::State::Running, "2.0.0", {}}), "");
    update_ = std::make_unique<ProductUpdate>(config_);
    EXPECT_EQ(update_->progress().state, ProductState::Failed);
    EXPECT_NE(update_->progress().problem.find("dpkg --configure -a"), std::string::npos);
}

TEST_F(ProductInstallTest, DoesNotRunTwiceAtATime)
{
    ASSERT_EQ(mkdir(config_.folder.c_str(), 0700), 0);
    const auto held = holdInstallation(config_.folder);
    ASSERT_TRUE(held);
    EXPECT_NE(beginInstallation(config_.installer, config_.folder, "2.0.0", "/x.deb"), "");
    EXPECT_FALSE(holdInstallation(config_.folder));
    close(*held);
    EXPECT_TRUE(holdInstallation(config_.folder));
}

} // namespace talo::update
