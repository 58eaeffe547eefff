// Files are taken into the quarantine, and brought back as they were.
#include "engine/scan/quarantinefixture.h"
#include "scan/restore.h"
#include "scan/vaultobject.h"

#include <cerrno>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;
namespace files = talo::files;

TEST_F(QuarantineTest, keepsItsFolderPrivate)
{
    EXPECT_EQ(statusOf(folder_ / "vault").st_mode & 07777u, 0700u);
    chmod((folder_ / "vault").c_str(), 0755);
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    ASSERT_FALSE(kept);
    EXPECT_EQ(kept.error().text, "the quarantine's folder is not private");
    EXPECT_EQ(readFile(home("evil")), "EVIL");
}

TEST_F(QuarantineTest, bringsAFileBackAsItWas)
{
    // Longer than one step of the copying, and with every byte.
    std::string content(700001, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 7 + i / 256);
    const std::string name = "ev\nil, #1 \xFF";
    writeFile(home(name), content);
    const uid_t self = geteuid();
    const uid_t owner = isRoot() ? 12345 : self;
    const gid_t group = isRoot() ? 23456 : getegid();
    ASSERT_EQ(chown(home(name).c_str(), owner, group), 0);
    ASSERT_EQ(chmod(home(name).c_str(), 04750), 0);
    const timespec times[2] = {{1111, 222}, {3333, 444}};
    ASSERT_EQ(utimensat(AT_FDCWD, home(name).c_str(), times, 0), 0);

    const auto kept = take(name);
    ASSERT_TRUE(kept) << kept.error().text;
    EXPECT_EQ(kept->otherNames, 0u);
    EXPECT_FALSE(exists(home(name)));
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].id, kept->id);
    EXPECT_EQ(list[0].path, home(name));
    EXPECT_EQ(list[0].threat, "Test.Threat");
    EXPECT_EQ(list[0].size, content.size());
    EXPECT_NEAR(static_cast<double>(list[0].time), static_cast<double>(time(nullptr)), 10);

    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Done) << outcome.reason;
    const struct stat status = statusOf(home(name)); // before reading changes it
    EXPECT_TRUE(readFile(home(name)) == content);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
    EXPECT_EQ(status.st_mode & 07777u, 04750u);
    EXPECT_EQ(status.st_mtim.tv_sec, 3333);
    EXPECT_EQ(status.st_mtim.tv_nsec, 444);
    EXPECT_EQ(status.st_atim.tv_sec, 1111);
    EXPECT_EQ(objects(), 0u);
    EXPECT_EQ(geteuid(), self) << "this thread keeps its rights";
}

TEST_F(QuarantineTest, makesContentInert)
{
    const std::string content = "a text that another scanner would find in the quarantine";
    writeFile(home("evil"), content);
    const auto kept = take("evil");
    ASSERT_TRUE(kept);
    const std::string raw = readFile(object(kept->id));
    EXPECT_EQ(raw.find(content.substr(0, 8)), raw.npos);
    EXPECT_EQ(statusOf(object(kept->id)).st_mode & 07777u, 0600u);
}

TEST_F(QuarantineTest, keepsEmptyFilesToo)
{
    writeFile(home("empty"), "");
    const auto kept = take("empty");
    ASSERT_TRUE(kept);
    EXPECT_EQ(quarantine_.restore(kept->id).result, Quarantine::Result::Done);
    EXPECT_EQ(statusOf(home("empty")).st_size, 0);
}

TEST_F(QuarantineTest, keepsNoThreatNameBeyondMeasure)
{
    writeFile(home("evil"), "EVIL");
    const Scanned scanned(folder_ / "home", "evil");
    Quarantine::Catch caught = scanned.caught();
    caught.threat = std::string(100000, 'x');
    ASSERT_TRUE(quarantine_.take(caught));
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].threat, std::string(4096, 'x'));
}

TEST_F(QuarantineTest, saysHowManyOtherNamesRemain)
{
    writeFile(home("evil"), "EVIL");
    ASSERT_EQ(link(home("evil").c_str(), home("other").c_str()), 0);
    const auto kept = take("evil");
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->otherNames, 1u);
    EXPECT_EQ(readFile(home("other")), "EVIL");
}

TEST_F(QuarantineTest, leavesAFileThatTookTheNameAndKeepsNoCopy)
{
    writeFile(home("evil"), "EVIL");
    const Scanned scanned(folder_ / "home", "evil");
    unlink(home("evil").c_str());
    writeFile(home("evil"), "GOOD");
    EXPECT_FALSE(quarantine_.take(scanned.caught()));
    EXPECT_EQ(readFile(home("evil")), "GOOD");
    EXPECT_EQ(objects(), 0u);
}

TEST_F(QuarantineTest, replacesNothingWhenRestoring)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    writeFile(home("evil"), "NEW");
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "something else has this name");
    EXPECT_EQ(readFile(home("evil")), "NEW");
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, restoresThroughNoLink)
{
    mkdir(home("d").c_str(), 0755);
    mkdir(home("foreign").c_str(), 0755);
    writeFile(home("d/evil"), "EVIL");
    const auto kept = quarantine_.take(Scanned(home("d"), "evil").caught());
    ASSERT_TRUE(kept);
    rmdir(home("d").c_str());
    ASSERT_EQ(symlink("foreign", home("d").c_str()), 0);
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_FALSE(exists(home("foreign/evil")));
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, saysThatTheFolderIsGone)
{
    mkdir(home("d").c_str(), 0755);
    writeFile(home("d/evil"), "EVIL");
    const auto kept = quarantine_.take(Scanned(home("d"), "evil").caught());
    rmdir(home("d").c_str());
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "the folder it came from cannot be opened: it does not exist");
}

TEST_F(QuarantineTest, restoresWithNoMoreRightsThanTheOwners)
{
    if (!isRoot())
        GTEST_SKIP() << "needs root, to restore for somebody else";
    writeFile(home("evil"), "EVIL");
    ASSERT_EQ(chown(home("evil").c_str(), kNobody, kNobody), 0);
    const auto kept = take("evil");
    chmod((folder_ / "home").c_str(), 0755); // root's, and no longer for all to write
    const auto outcome = quarantine_.restore(kept->id);
    EXPECT_EQ(outcome.result, Quarantine::Result::Failed);
    EXPECT_EQ(outcome.reason, "permission denied");
    EXPECT_EQ(objects(), 1u);
}

TEST_F(QuarantineTest, restoresAndPurgesAsAnOrdinaryUser)
{
    EXPECT_EQ(asNobody([&]() -> std::string {
                  Quarantine own(home("own"));
                  for (const char *name : {"a", "b"}) {
                      writeFile(home(name), "EVIL");
                      if (!own.take(Scanned(folder_ / "home", name).caught()))
                          return "not taken";
                  }
                  const auto list = own.list();
                  if (list.size() != 2)
                      return "not listed";
                  if (own.restore(list[0].id).result != Quarantine::Result::Done ||
                      readFile(list[0].path) != "EVIL")
                      return "not restored";
                  if (own.purge(list[1].id).result != Quarantine::Result::Done)
                      return "not purged";
                  return own.list().empty() ? "done" : "still listed";
              }),
              "done");
}

TEST_F(QuarantineTest, restoresWhereFilesCannotBeUnnamed)
{
    writeFile(home("evil"), "EVIL");
    const auto kept = take("evil");
    const auto file = files::openForReading(AT_FDCWD, object(kept->id));
    const auto record = readRecord(file->fd.get());
    ASSERT_TRUE(record);
    EXPECT_FALSE(putInPlace(file->fd.get(), *record, Creation::Hidden));
    EXPECT_EQ(readFile(home("evil")), "EVIL");
    writeFile(home("evil"), "NEW");
    EXPECT_EQ(putInPlace(file->fd.get(), *record, Creation::Hidden)->code, EEXIST);
    EXPECT_EQ(readFile(home("evil")), "NEW");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_ / "home"),
                            std::filesystem::directory_iterator()),
              1)
        << "no hidden file is left";
}

TEST_F(QuarantineTest, purgesWhatIsTooOld)
{
    for (const char *name : {"a", "b"}) {
        writeFile(home(name), "EVIL");
        ASSERT_TRUE(take(name));
    }
    writeFile(object("00000000000000aa"), "damaged");
    quarantine_.expire(time(nullptr) - 100);
    EXPECT_EQ(objects(), 3u);
    quarantine_.expire(time(nullptr) + 100);
    EXPECT_EQ(objects(), 0u);
}

TEST_F(QuarantineTest, listsTheNewestFirst)
{
    for (const char *name : {"a", "b", "c"}) {
        writeFile(home(name), "EVIL");
        ASSERT_TRUE(take(name));
    }
    // Records with times of their own.
    std::time_t arrival = 1000;
    for (const auto &listed : quarantine_.list()) {
        const files::UniqueFd fd(open(object(listed.id).c_str(), O_RDWR | O_CLOEXEC));
        auto record = readRecord(fd.get());
        record->arrival = arrival += 1000;
        ASSERT_FALSE(writeRecord(fd.get(), *record));
    }
    const auto list = quarantine_.list();
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(list[0].time, 4000);
    EXPECT_EQ(list[2].time, 2000);
}
