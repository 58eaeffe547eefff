#include "update/plainfolder.h"
#include "update/signaturesets.h"
#include "update/workfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::update
{

namespace
{

namespace fs = std::filesystem;

class Sets : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = fs::temp_directory_path() / "talo-sets-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        sets_ = std::make_unique<SignatureSets>(
            folder_ / "s", [this](const std::string &set) { return set == held_; });
        EXPECT_EQ(open(), "");
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string open()
    {
        std::string notice;
        EXPECT_EQ(sets_->open(notice), "");
        return notice;
    }
    std::string begin()
    {
        std::string failure;
        std::string set = sets_->begin(failure);
        EXPECT_EQ(failure, "");
        std::ofstream(set + "/x.ndb") << set;
        return set;
    }
    std::string add()
    {
        std::string set = begin();
        EXPECT_EQ(sets_->take(set), "");
        return set;
    }
    auto count() const
    {
        return std::distance(fs::directory_iterator(folder_ / "s" / "sets"),
                             fs::directory_iterator());
    }

    fs::path folder_;
    std::string held_;
    std::unique_ptr<SignatureSets> sets_;
};

} // namespace

TEST_F(Sets, KeepTheCurrentOneAndTheOneBefore)
{
    EXPECT_EQ(sets_->current(), "");
    const std::string first = add();
    EXPECT_EQ(sets_->current(), first);
    EXPECT_EQ(sets_->previous(), "");
    const std::string second = add();
    EXPECT_EQ(sets_->current(), second);
    EXPECT_EQ(sets_->previous(), first);
    const std::string third = add();
    EXPECT_EQ(sets_->previous(), second);
    EXPECT_FALSE(fs::exists(first));
    EXPECT_EQ(count(), 2);
}

TEST_F(Sets, LeaveWhatScansStillUse)
{
    held_ = add();
    add();
    add();
    EXPECT_TRUE(fs::exists(held_));
    const std::string held = held_;
    held_.clear();
    add();
    EXPECT_FALSE(fs::exists(held));
}

TEST_F(Sets, AreReadableByTheWorkersAndPrivateToAllOthers)
{
    struct stat status {
    };
    ASSERT_EQ(stat(add().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0755U);
    ASSERT_EQ(stat((folder_ / "s").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0700U);
}

TEST_F(Sets, FallBackOnce)
{
    const std::string first = add();
    const std::string second = add();
    EXPECT_EQ(sets_->fallBack(), "");
    EXPECT_EQ(sets_->current(), first);
    EXPECT_EQ(sets_->previous(), "");
    EXPECT_FALSE(fs::exists(second));
    EXPECT_NE(sets_->fallBack(), "");
    EXPECT_EQ(sets_->current(), first);
}

TEST_F(Sets, RecoverWhereTheCurrentOneIsGone)
{
    const std::string first = add();
    fs::remove_all(add());
    EXPECT_NE(open(), "");
    EXPECT_EQ(sets_->current(), first);
}

TEST_F(Sets, SweepWhatAKillLeft)
{
    const std::string first = add();
    fs::create_directory(folder_ / "s" / "sets" / "half");
    std::ofstream(folder_ / "s" / "sets" / "half" / "x.ndb") << "x";
    fs::create_symlink("sets/half", folder_ / "s" / "current.new");
    std::make_unique<SignatureSets>(folder_ / "s").swap(sets_);
    EXPECT_EQ(open(), "");
    EXPECT_EQ(sets_->current(), first);
    EXPECT_EQ(count(), 1);
    EXPECT_FALSE(fs::is_symlink(folder_ / "s" / "current.new"));
}

TEST_F(Sets, AreNeverOutsideTheirFolder)
{
    add();
    fs::create_directory(folder_ / "elsewhere");
    std::ofstream(folder_ / "elsewhere" / "x.ndb") << "x";
    for (const char *target : {"../elsewhere", "sets/../../elsewhere", "/etc"}) {
        fs::remove(folder_ / "s" / "current");
        fs::create_symlink(target, folder_ / "s" / "current");
        EXPECT_EQ(sets_->current(), "") << target;
    }
}

TEST_F(Sets, KeepACandidateWhileAnotherOneFallsBack)
{
    add();
    add();
    const std::string candidate = begin();
    EXPECT_EQ(sets_->fallBack(), "");
    EXPECT_TRUE(fs::exists(candidate));
    sets_->discard(candidate);
    EXPECT_FALSE(fs::exists(candidate));
    sets_->discard(sets_->current());
    EXPECT_NE(sets_->current(), "");
}

TEST_F(Sets, TakeNothingButPlainFilesOfTheDownloader)
{
    const fs::path download = folder_ / "download";
    const fs::path secret = folder_ / "secret";
    fs::create_directory(download);
    std::ofstream(secret) << "x";
    fs::create_symlink(secret, download / "link.ndb");
    fs::create_hard_link(secret, download / "hard.ndb");
    ASSERT_EQ(mkfifo((download / "pipe.ndb").c_str(), 0600), 0);
    std::ofstream(download / "good.ndb") << "x";
    const std::string set = begin();
    for (const char *file : {"link.ndb", "hard.ndb", "pipe.ndb", "none.ndb"}) {
        EXPECT_NE(takeDatabases(download, {file}, geteuid(), set), "") << file;
        EXPECT_FALSE(fs::exists(fs::path(set) / file));
    }
    EXPECT_NE(takeDatabases(download, {"good.ndb"}, geteuid() + 1, set), "");
    EXPECT_EQ(takeDatabases(download, {"good.ndb"}, geteuid(), set), "");
    EXPECT_EQ(plainFiles(download), std::vector<std::string>({"good.ndb", "hard.ndb"}));
}

TEST_F(Sets, ContentIsComparedToTheLastByte)
{
    const std::string content(200000, 'x');
    std::ofstream(folder_ / "one") << content;
    std::ofstream(folder_ / "same") << content;
    std::ofstream(folder_ / "other") << content.substr(1) + "y";
    std::ofstream(folder_ / "longer") << content + "x";
    EXPECT_TRUE(sameContent(folder_ / "one", folder_ / "same"));
    EXPECT_FALSE(sameContent(folder_ / "one", folder_ / "other"));
    EXPECT_FALSE(sameContent(folder_ / "one", folder_ / "longer"));
    EXPECT_FALSE(sameContent(folder_ / "one", folder_ / "none"));
}

TEST_F(Sets, AWorkFolderIsPrivateAndGoesWithItsRun)
{
    const std::string note = folder_ / "note";
    const Identity self{geteuid(), getegid()};
    std::string path;
    {
        const WorkFolder work(folder_, note, self);
        ASSERT_EQ(work.failure(), "");
        path = work.path();
        struct stat status {
        };
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777u, 0700U);
        EXPECT_EQ(fs::read_symlink(note), path);
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_FALSE(fs::is_symlink(note));
    EXPECT_NE(WorkFolder("/no/such/place", note, self).failure(), "");
    EXPECT_FALSE(fs::is_symlink(note));
}

TEST_F(Sets, SweepsNoFolderOfOthers)
{
    const fs::path others = folder_ / "others";
    fs::create_directory(others);
    fs::create_symlink(others, folder_ / "note");
    WorkFolder::sweep(folder_ / "note");
    EXPECT_TRUE(fs::exists(others));
    EXPECT_FALSE(fs::is_symlink(folder_ / "note"));
}

} // namespace talo::update
