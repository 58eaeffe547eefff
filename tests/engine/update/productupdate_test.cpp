// A whole update of the program against a server that behaves, and one that does not.
#include "engine/update/updatefixture.h"

#include <algorithm>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>

namespace talo::update
{

namespace
{

using Want = ProductUpdate::Want;
using ServerFile = test::ReleaseServer::File;

class ProductUpdateTest : public UpdateFixture
{
protected:
    ServerFile package() const
    {
        ServerFile file;
        file.content = package_;
        return file;
    }
    std::vector<std::string> packageRequests() const
    {
        std::vector<std::string> found;
        for (const std::string &request : server_.requests())
            if (request.find("package.deb") != std::string::npos)
                found.push_back(request);
        return found;
    }
};

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(ProductUpdateTest, FindsANewerRelease)
{
    const ProductProgress found = run(Want::Check);
    EXPECT_EQ(found.state, ProductState::Available) << found.problem;
    EXPECT_EQ(found.version, "99.0.0");
    EXPECT_EQ(found.date, "2026-11-21");
    EXPECT_EQ(found.notes, "Better.");
    EXPECT_EQ(found.total, package_.size());
    EXPECT_TRUE(packageRequests().empty());
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, TakesNeitherAnEqualNorAnOlderRelease)
{
    for (const char *version : {"0.1.0", "0.1", "0.0.9", "0.0.999"}) {
        test::ReleaseText release;
        release.version = version;
        publish(release);
        EXPECT_EQ(run().state, ProductState::Latest) << version;
        EXPECT_TRUE(packageRequests().empty());
    }
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, SaysWhenNothingIsConfigured)
{
    config_.source = [](std::string &reason) {
        reason = "no update source is configured";
        return std::string();
    };
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::NoSource);
    EXPECT_EQ(end.problem, "no update source is configured");
}

TEST_F(ProductUpdateTest, NeedsAKey)
{
    config_.key.reset();
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_TRUE(contains(end.problem, "no key")) << end.problem;
    EXPECT_TRUE(server_.requests().empty());
}

TEST_F(ProductUpdateTest, RefusesAddressesThatAreNotSecure)
{
    config_.source = [](std::string &) { return std::string("http://example.org/"); };
    EXPECT_EQ(run().state, ProductState::Failed);
}

TEST_F(ProductUpdateTest, RefusesAManifestThatIsNotSigned)
{
    serveManifest(manifest_, std::string(64, 'x'));
    EXPECT_TRUE(contains(run(Want::Check).problem, "signature"));
    std::string altered = manifest_;
    altered[altered.find("Better")] = 'W';
    serveManifest(altered, test::signRelease(manifest_));
    EXPECT_TRUE(contains(run(Want::Check).problem, "signature"));
    serveManifest(manifest_, test::signRelease(manifest_) + "x");
    EXPECT_TRUE(contains(run(Want::Check).problem, "more than"));
    serveManifest(std::string(kLargestManifest + 1, ' '), std::string(64, 'x'));
    EXPECT_TRUE(contains(run(Want::Check).problem, "more than"));
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, RefusesAnotherArchitecture)
{
    test::ReleaseText release;
    release.architecture = "m68k";
    publish(release);
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Failed);
    EXPECT_TRUE(contains(end.problem, "m68k")) << end.problem;
}

TEST_F(ProductUpdateTest, InstallsWhatWasSigned)
{
    NEEDS_ROOT();
    const std::string copy = folder_.file("copy");
    const std::string tool =
        "cat \"$0\" > " + copy + "; stat -c '%a %u' \"$0\" > " + copy + ".mode";
    config_.installer.command = {"/bin/sh", "-c", tool};
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Installed) << end.problem;
    EXPECT_EQ(end.received, package_.size());
    std::ifstream file(copy, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), package_);
    std::ifstream mode(copy + ".mode");
    std::string text;
    std::getline(mode, text);
    EXPECT_EQ(text, "400 0");
    struct stat status {
    };
    ASSERT_EQ(stat(config_.folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

// Every region of the package: a bit here and there in each of 97 stretches of it.
TEST_F(ProductUpdateTest, RefusesAPackageWithAnyRegionAltered)
{
    NEEDS_ROOT();
    constexpr std::size_t kRegions = 97;
    for (std::size_t region = 0; region < kRegions; ++region) {
        const std::size_t at = std::min(package_.size() - 1, region * (package_.size() / 96));
        std::string altered = package_;
        altered[at] = static_cast<char>(altered[at] ^ (1 << region % 8));
        serve(altered);
        const ProductProgress end = run();
        ASSERT_EQ(end.state, ProductState::Failed) << "byte " << at;
        ASSERT_TRUE(contains(end.problem, "SHA-256")) << end.problem;
    }
    EXPECT_FALSE(installed());
    serve(package_); // nothing of the altered ones has stayed
    EXPECT_EQ(run().state, ProductState::Installed);
}

TEST_F(ProductUpdateTest, RefusesAnotherSize)
{
    NEEDS_ROOT();
    serve(package_ + "x");
    EXPECT_TRUE(contains(run().problem, "more than"));
    serve(package_.substr(1));
    EXPECT_TRUE(contains(run().problem, "less than"));
    serve("");
    EXPECT_EQ(run().state, ProductState::Failed);
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, FollowsNoRedirection)
{
    NEEDS_ROOT();
    ServerFile elsewhere = package();
    server_.serve("elsewhere.deb", elsewhere);
    for (long status : {301L, 302L, 303L, 307L, 308L}) {
        ServerFile file = package();
        file.status = status;
        file.location = server_.address() + "elsewhere.deb";
        server_.serve("package.deb", file);
        const ProductProgress end = run();
        EXPECT_EQ(end.state, ProductState::Failed);
        EXPECT_TRUE(contains(end.problem, "elsewhere")) << end.problem;
    }
    for (const std::string &request : server_.requests())
        EXPECT_FALSE(contains(request, "elsewhere"));
}

TEST_F(ProductUpdateTest, TellsOfMissingAndUnreachable)
{
    NEEDS_ROOT();
    ServerFile gone;
    gone.status = 404;
    server_.serve("package.deb", gone);
    EXPECT_TRUE(contains(run().problem, "404"));
    server_.serve(name(), gone);
    EXPECT_TRUE(contains(run().problem, "404"));
    config_.source = [](std::string &) { return std::string("http://127.0.0.1:1/"); };
    update_.reset();
    EXPECT_EQ(run().state, ProductState::Unreachable);
}

TEST_F(ProductUpdateTest, ResumesADownloadThatIsCut)
{
    NEEDS_ROOT();
    ServerFile file = package();
    file.cutAfter = 70000;
    file.cuts = 2;
    server_.serve("package.deb", file);
    const ProductProgress end = run();
    EXPECT_EQ(end.state, ProductState::Installed) << end.problem;
    EXPECT_EQ(packageRequests(),
              (std::vector<std::string>{"GET /package.deb", "GET /package.deb bytes=70000-",
                                        "GET /package.deb bytes=140000-"}));
}

TEST_F(ProductUpdateTest, ResumesInALaterRun)
{
    NEEDS_ROOT();
    config_.limits.attempts = 1;
    ServerFile file = package();
    file.cutAfter = 70000;
    file.cuts = 1;
    server_.serve("package.deb", file);
    EXPECT_EQ(run().state, ProductState::Unreachable);
    update_.reset(); // and in a later life of the service
    EXPECT_EQ(run().state, ProductState::Installed);
    EXPECT_EQ(packageRequests().back(), "GET /package.deb bytes=70000-");
}

TEST_F(ProductUpdateTest, BeginsAnewWhereTheServersFileIsAnother)
{
    NEEDS_ROOT();
    config_.limits.attempts = 1;
    ServerFile file = package();
    file.content[5] = 'x';
    file.cutAfter = 70000;
    file.cuts = 1;
    server_.serve("package.deb", file);
    EXPECT_EQ(run().state, ProductState::Unreachable);
    file = package();
    file.tag = "\"two\"";
    server_.serve("package.deb", file);
    EXPECT_EQ(run().state, ProductState::Installed);
}

TEST_F(ProductUpdateTest, BeginsAnewWhereTheServerKnowsNoParts)
{
    NEEDS_ROOT();
    ServerFile file = package();
    file.cutAfter = 70000;
    file.cuts = 1;
    file.ignoresRanges = true;
    server_.serve("package.deb", file);
    EXPECT_EQ(run().state, ProductState::Installed);
    file.cuts = 1;
    file.tag.clear();
    server_.serve("package.deb", file);
    config_.installer.command = {"/bin/true", "again"};
    update_.reset();
    EXPECT_EQ(run().state, ProductState::Installed);
    EXPECT_EQ(packageRequests().back(), "GET /package.deb");
}

TEST_F(ProductUpdateTest, RefusesAnotherPartThanItAskedFor)
{
    NEEDS_ROOT();
    ServerFile file = package();
    file.cutAfter = 70000;
    file.cuts = 1;
    file.claimedRange = "bytes 7-199999/200000";
    server_.serve("package.deb", file);
    EXPECT_TRUE(contains(run().problem, "another part"));
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, GivesUpOnAStalledServer)
{
    NEEDS_ROOT();
    config_.limits.stall = std::chrono::seconds(1);
    config_.limits.attempts = 1;
    ServerFile file = package();
    file.holdAfter = 50000;
    server_.serve("package.deb", file);
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(run().state, ProductState::Unreachable);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(15));
    EXPECT_FALSE(installed());
}

TEST_F(ProductUpdateTest, StopsAtOnce)
{
    NEEDS_ROOT();
    config_.limits.stall = std::chrono::seconds(60);
    ServerFile file = package();
    file.holdAfter = 50000;
    server_.serve("package.deb", file);
    update_ = std::make_unique<ProductUpdate>(config_);
    EXPECT_FALSE(update_->stop());
    ASSERT_TRUE(update_->begin(Want::Install));
    EXPECT_FALSE(update_->begin(Want::Install)); // one runs
    ASSERT_TRUE(awaitState(ProductState::Downloading));
    while (update_->progress().received == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_TRUE(update_->stop());
    EXPECT_EQ(await().state, ProductState::Stopped);
    EXPECT_FALSE(update_->stop());
    EXPECT_FALSE(installed());
    server_.release();
    EXPECT_EQ(run().state, ProductState::Installed); // from where it stopped
}

TEST_F(ProductUpdateTest, RefusesAFolderThatIsNotItsOwn)
{
    NEEDS_ROOT();
    ASSERT_EQ(mkdir(config_.folder.c_str(), 0755), 0);
    ASSERT_EQ(chmod(config_.folder.c_str(), 0755), 0);
    EXPECT_TRUE(contains(run().problem, "alone"));
    ASSERT_EQ(chmod(config_.folder.c_str(), 0700), 0);
    ASSERT_EQ(chown(config_.folder.c_str(), 65534, 65534), 0);
    EXPECT_TRUE(contains(run().problem, "alone"));
    ASSERT_EQ(rmdir(config_.folder.c_str()), 0);
    ASSERT_EQ(symlink("/tmp", config_.folder.c_str()), 0);
    EXPECT_EQ(run().state, ProductState::Failed);
}

TEST_F(ProductUpdateTest, LeavesNoPackagesBehind)
{
    NEEDS_ROOT();
    EXPECT_EQ(run().state, ProductState::Installed);
    std::vector<std::string> left;
    DIR *const list = opendir(config_.folder.c_str());
    ASSERT_NE(list, nullptr);
    while (const dirent *entry = readdir(list)) {
        const std::string entryName = entry->d_name;
        if (contains(entryName, ".deb") || contains(entryName, ".part"))
            left.push_back(entryName);
    }
    closedir(list);
    EXPECT_EQ(left, std::vector<std::string>{"installed.package.deb"}); // to be put back one day
}

} // namespace talo::update
