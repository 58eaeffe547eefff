#include "service/signatureset.h"
#include "service/signaturepools.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::service
{

namespace
{

class Signatures : public testing::Test
{
protected:
    void SetUp() override
    {
        std::string name = std::filesystem::temp_directory_path() / "talo-set-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void add(const std::string &name, const std::string &content)
    {
        std::ofstream(folder_ / name) << content;
        const timespec noon[2] = {{1795266309, 0}, {1795266309, 0}}; // 21 Nov 2026
        ASSERT_EQ(utimensat(AT_FDCWD, (folder_ / name).c_str(), noon, 0), 0);
    }

    std::filesystem::path folder_;
};

} // namespace

TEST_F(Signatures, OfAChosenFolderAreDescribedByTheirNewestFile)
{
    add("own.ndb", "");
    const SignatureSet set = chooseSignatures(folder_, "/nowhere");
    EXPECT_EQ(set.kind, "chosen");
    EXPECT_EQ(set.folder, folder_);
    EXPECT_EQ(set.version, "2026.11.21");
    EXPECT_EQ(set.time, 1795266309);
    EXPECT_EQ(describe(set, 0), "chosen (" + folder_.string() + "), 21 Nov 2026");
    EXPECT_EQ(describe(set, 1), "chosen (" + folder_.string() + "), 1 signature, 21 Nov 2026");
}

TEST_F(Signatures, OfOfficialDatabasesNameTheirVersions)
{
    add("daily.cld", "ClamAV-VDB:21 Nov 2026 09-05 +0000:27812:2067000:90:X:X:builder:1795");
    add("main.cvd", "ClamAV-VDB:16 Sep 2021 08-32 -0400:62:6647427:90:X:X:builder:1631");
    EXPECT_EQ(chooseSignatures(folder_, "/nowhere").version, "daily 27812, main 62");
}

TEST_F(Signatures, WithAForgedHeaderHaveNoVersionOfItsChoice)
{
    add("daily.cvd", "ClamAV-VDB:x:1,2#\n3:y");
    add("main.cvd", "ClamAV-VDB:");
    EXPECT_EQ(chooseSignatures(folder_, "/nowhere").version, "2026.11.21");
}

TEST_F(Signatures, ThatWereUpdatedGoBeforeAllOthers)
{
    const auto current = folder_ / "signatures" / "current";
    std::filesystem::create_directories(current);
    EXPECT_NE(chooseSignatures("", folder_).kind, "updated");
    std::ofstream(current / "readme.txt") << "no database";
    EXPECT_NE(chooseSignatures("", folder_).kind, "updated");
    std::ofstream(current / "new.hdb") << "x";
    EXPECT_EQ(chooseSignatures("", folder_).kind, "updated");
    EXPECT_EQ(chooseSignatures("", folder_).folder, current);
}

TEST_F(Signatures, OfAFolderThatIsNotThereAreOfNoVersionAndTime)
{
    const SignatureSet set = chooseSignatures("/no/such/folder", "/nowhere");
    EXPECT_EQ(set.version, "");
    EXPECT_EQ(set.time, 0);
}

// With the workers would stay the signatures, which take a gigabyte.
TEST_F(Signatures, AreNotHeldByAScanThatEndedWhileTheyWereLoaded)
{
    scan::PoolConfig config;
    config.workerProgram = "/nonexistent";
    config.signatureFolder = folder_;
    std::weak_ptr<scan::WorkerPool> second;
    std::shared_ptr<JobWorkers> workers;
    workers = std::make_shared<JobWorkers>(
        SetWorkers{{}, std::make_shared<scan::WorkerPool>(config)},
        [&](const SetWorkers &, const std::string &) {
            workers->letGo();
            SetWorkers other{{}, std::make_shared<scan::WorkerPool>(config)};
            second = other.pool;
            return other;
        });
    EXPECT_NE(JobWorkers::source(workers, scan::Priority::Normal)->load(), "");
    EXPECT_TRUE(second.expired());
}

} // namespace talo::service
