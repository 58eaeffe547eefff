#include "store/database.h"

#include "engine/store/temporaryfolder.h"
#include "store/reportstore.h"
#include "store/schema.h"
#include "store/statement.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::store
{

namespace
{

void addReport(const std::string &folder)
{
    std::string failure;
    const auto database = Database::open(folder, failure);
    ASSERT_NE(database, nullptr) << failure;
    ReportStore reports(*database);
    const ReportStore::Id id = reports.begin({"Custom Scan", "/srv", "built-in", 1000});
    for (int threat = 0; threat < 200; ++threat)
        reports.addThreat(id, {"/srv/file" + std::to_string(threat), "Name", "infected", "left"});
    ASSERT_NE(reports.finish(id, Outcome::Completed, {}, ""), "");
    ASSERT_EQ(database->keepCopy(), "");
}

std::size_t countReports(const std::string &folder, std::string &notice)
{
    std::string failure;
    const auto database = Database::open(folder, failure);
    EXPECT_NE(database, nullptr) << failure;
    if (!database)
        return 0;
    notice = database->notice();
    return ReportStore(*database).list("", "").entries.size();
}

void overwrite(const std::string &file, std::streamoff from, std::size_t length)
{
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    stream.seekp(from);
    stream << std::string(length, '\xA5');
    ASSERT_TRUE(stream.good());
}

mode_t modeOf(const std::string &path)
{
    struct stat status {
    };
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

} // namespace

TEST(Database, MakesAPrivateFolderAndWhatIsMissingAboveIt)
{
    const TemporaryFolder place;
    std::string failure;
    const std::string folder = place.file("a/b/state");
    ASSERT_NE(Database::open(folder, failure), nullptr) << failure;
    EXPECT_EQ(modeOf(folder), 0700U);
}

TEST(Database, WritesAheadWithFullFlushesAndForeignKeys)
{
    const TemporaryFolder place;
    std::string failure;
    const auto database = Database::open(place.path(), failure);
    ASSERT_NE(database, nullptr) << failure;
    const auto pragma = [&](const char *sql) {
        Statement question(*database, sql);
        EXPECT_EQ(question.step(), Statement::Step::Row);
        return question.text(0);
    };
    EXPECT_EQ(pragma("PRAGMA journal_mode"), "wal");
    EXPECT_EQ(pragma("PRAGMA synchronous"), "2");
    EXPECT_EQ(pragma("PRAGMA foreign_keys"), "1");
    EXPECT_EQ(pragma("PRAGMA user_version"), std::to_string(std::size(kMigrations)));
}

TEST(Database, ClosesAFolderThatOthersMayRead)
{
    const TemporaryFolder place;
    chmod(place.path().c_str(), 0755);
    std::string failure;
    ASSERT_NE(Database::open(place.path(), failure), nullptr) << failure;
    EXPECT_EQ(modeOf(place.path()), 0700U);
}

TEST(Database, RefusesAFolderThatOthersMayWrite)
{
    const TemporaryFolder place;
    chmod(place.path().c_str(), 0777);
    std::string failure;
    EXPECT_EQ(Database::open(place.path(), failure), nullptr);
    EXPECT_NE(failure.find("may be written by others"), std::string::npos) << failure;
}

TEST(Database, RefusesAFolderBehindALink)
{
    const TemporaryFolder place;
    mkdir(place.file("real").c_str(), 0700);
    ASSERT_EQ(symlink("real", place.file("link").c_str()), 0);
    std::string failure;
    EXPECT_EQ(Database::open(place.file("link"), failure), nullptr);
    EXPECT_NE(failure, "");
}

TEST(Database, RefusesAForeignFolder)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder away";
    const TemporaryFolder place;
    ASSERT_EQ(chown(place.path().c_str(), 65534, 65534), 0);
    std::string failure;
    EXPECT_EQ(Database::open(place.path(), failure), nullptr);
    EXPECT_NE(failure.find("belongs to user 65534"), std::string::npos) << failure;
}

TEST(Database, RefusesASecondServiceInItsFolder)
{
    const TemporaryFolder place;
    std::string failure;
    const auto first = Database::open(place.path(), failure);
    ASSERT_NE(first, nullptr) << failure;
    EXPECT_EQ(Database::open(place.path(), failure), nullptr);
    EXPECT_NE(failure.find("another talod"), std::string::npos) << failure;
}

TEST(Database, RefusesADatabaseOfANewerVersionAndLeavesItAlone)
{
    const TemporaryFolder place;
    addReport(place.path());
    std::string failure;
    {
        const auto database = Database::open(place.path(), failure);
        ASSERT_NE(database, nullptr) << failure;
        ASSERT_TRUE(execute(*database, "PRAGMA user_version = 7"));
    }
    EXPECT_EQ(Database::open(place.path(), failure), nullptr);
    EXPECT_NE(failure.find("newer version"), std::string::npos) << failure;
    EXPECT_FALSE(std::filesystem::exists(place.file("taloantivirus.db.damaged")));
}

class DamagedDatabase : public testing::TestWithParam<std::pair<std::streamoff, std::size_t>>
{
};

TEST_P(DamagedDatabase, IsReplacedByItsLastGoodCopy)
{
    const TemporaryFolder place;
    addReport(place.path());
    overwrite(place.file("taloantivirus.db"), GetParam().first, GetParam().second);
    std::string notice;
    EXPECT_EQ(countReports(place.path(), notice), 1U);
    EXPECT_NE(notice.find("last good copy was restored"), std::string::npos) << notice;
    EXPECT_TRUE(std::filesystem::exists(place.file("taloantivirus.db.damaged")));
    EXPECT_EQ(countReports(place.path(), notice), 1U);
    EXPECT_EQ(notice, "");
}

INSTANTIATE_TEST_SUITE_P(Places, DamagedDatabase,
                         testing::Values(std::pair(std::streamoff{0}, std::size_t{100}),
                                         std::pair(std::streamoff{4096}, std::size_t{20000})));

TEST(Database, BeginsANewOneWhereADamagedOneHasNoCopy)
{
    const TemporaryFolder place;
    addReport(place.path());
    std::filesystem::remove(place.file("taloantivirus.db.good"));
    overwrite(place.file("taloantivirus.db"), 0, 100);
    std::string notice;
    EXPECT_EQ(countReports(place.path(), notice), 0U);
    EXPECT_NE(notice.find("a new one was begun"), std::string::npos) << notice;
}

TEST(Database, BeginsANewOneWhereItsGoodCopyIsDamagedToo)
{
    const TemporaryFolder place;
    addReport(place.path());
    overwrite(place.file("taloantivirus.db"), 0, 100);
    overwrite(place.file("taloantivirus.db.good"), 0, 100);
    std::string notice;
    EXPECT_EQ(countReports(place.path(), notice), 0U);
    EXPECT_NE(notice.find("good copy was damaged too"), std::string::npos) << notice;
    EXPECT_TRUE(std::filesystem::exists(place.file("taloantivirus.db.damaged")));
    EXPECT_EQ(countReports(place.path(), notice), 0U);
    EXPECT_EQ(notice, "");
}

TEST(Database, KeepsItsOldCopyWhereANewOneCannotBeMade)
{
    const TemporaryFolder place;
    addReport(place.path());
    std::string failure;
    const auto database = Database::open(place.path(), failure);
    ASSERT_NE(database, nullptr) << failure;
    const auto before = std::filesystem::last_write_time(place.file("taloantivirus.db.good"));
    std::filesystem::create_directory(place.file("taloantivirus.db.copy"));
    std::ofstream(place.file("taloantivirus.db.copy/full")) << "x";
    EXPECT_NE(database->keepCopy(), "");
    EXPECT_EQ(std::filesystem::last_write_time(place.file("taloantivirus.db.good")), before);
}

} // namespace talo::store
