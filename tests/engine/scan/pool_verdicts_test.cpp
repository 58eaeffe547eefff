// The product's worker with the signatures it comes with: every kind of verdict.
#include "engine/scan/pool_fixture.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;

constexpr const char *kTestFiles = "/usr/share/clamav-testfiles";

void run(const std::string &command)
{
    ASSERT_EQ(std::system((command + " >/dev/null").c_str()), 0) << command;
}

std::vector<fs::path> testFiles()
{
    std::vector<fs::path> files;
    std::error_code error;
    for (const auto &entry : fs::directory_iterator(kTestFiles, error))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void writeZeros(const fs::path &path, off_t size)
{
    const int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, size), 0);
    close(fd);
}

class PoolVerdicts : public testing::Test
{
protected:
    TestFolder folder;
};

TEST_F(PoolVerdicts, EveryTestFileIsFound)
{
    const auto files = testFiles();
    if (files.empty())
        GTEST_SKIP() << "clamav-testfiles is not installed";
    WorkerPool pool(config(realWorker()));
    for (const auto &[name, verdict] : scanAll(pool, files))
        EXPECT_TRUE(matches(verdict, VerdictKind::Threat, "ClamAV-Test-File"))
            << name << ": " << describe(verdict);
    EXPECT_TRUE(pool.signatures().loaded);
    EXPECT_EQ(pool.signatures().count, 2u);
}

TEST_F(PoolVerdicts, WhatThePeerFindsIsFound)
{
    if (testFiles().empty() || std::system("command -v clamscan >/dev/null") != 0)
        GTEST_SKIP() << "clamscan or clamav-testfiles is not installed";
    std::FILE *pipe = popen(
        ("clamscan --infected --no-summary -d " + builtInSignatures() + " " + kTestFiles).c_str(),
        "r");
    ASSERT_NE(pipe, nullptr);
    std::vector<fs::path> found;
    std::array<char, 1024> line{};
    while (std::fgets(line.data(), line.size(), pipe)) {
        const std::string text(line.data());
        found.emplace_back(text.substr(0, text.rfind(": ")));
    }
    pclose(pipe);
    EXPECT_GT(found.size(), 40u);
    WorkerPool pool(config(realWorker()));
    for (const auto &[name, verdict] : scanAll(pool, found))
        EXPECT_EQ(verdict.kind, VerdictKind::Threat) << name << ": " << describe(verdict);
}

TEST_F(PoolVerdicts, EicarAsItsPublisherDefinesIt)
{
    const std::string text = eicar();
    ASSERT_EQ(text.size(), 68u);
    const std::vector<fs::path> threats{
        folder.write("plain", text), folder.write("newline", text + "\r\n"),
        folder.write("ctrl-z", text + "\x1a"), folder.write("mixed", text + " \t\r\n\x1a"),
        folder.write("128", text + std::string(60, ' '))};
    const std::vector<fs::path> clean{
        folder.write("129", text + std::string(61, ' ')),
        folder.write("letter", text + "x"),
        folder.write("zero", text + std::string(1, '\0')),
        folder.write("leading", " " + text),
        folder.write("cut", text.substr(0, 67)),
        folder.write("empty", ""),
        folder.write("quoted", "a text that quotes " + text + " in its middle")};
    WorkerPool pool(config(realWorker()));
    for (const auto &[name, verdict] : scanAll(pool, threats))
        EXPECT_TRUE(matches(verdict, VerdictKind::Threat, "Eicar-Test-Signature"))
            << name << ": " << describe(verdict);
    for (const auto &[name, verdict] : scanAll(pool, clean))
        EXPECT_EQ(verdict.kind, VerdictKind::Clean) << name << ": " << describe(verdict);
}

TEST_F(PoolVerdicts, TooLargeIsSkippedAndNeverClean)
{
    WorkerPool pool(config(realWorker()));
    writeZeros(folder.path() / "gigabytes", off_t{2} << 30);
    EXPECT_TRUE(matches(scanOne(pool, folder.path() / "gigabytes"), VerdictKind::Skipped,
                        "larger than 1 GiB"));
    auto small = config(realWorker());
    small.maxFileSize = ~std::uint64_t{0};
    WorkerPool unlimited(small);
    EXPECT_EQ(scanOne(unlimited, folder.path() / "gigabytes").kind, VerdictKind::Skipped);
}

TEST_F(PoolVerdicts, BombsAreSkippedEachTime)
{
    const std::string dir = folder.path().string();
    writeZeros(folder.path() / "zeros", 200 << 20);
    run("cd " + dir + " && zip -q member.zip zeros && gzip -c zeros > zeros.gz && " +
        "zip -q nested.zip member.zip");
    auto limits = config(realWorker(), 1);
    WorkerPool pool(limits); // 64 MiB of temporary files
    for (const char *name : {"member.zip", "zeros.gz", "nested.zip"})
        for (int time = 0; time < 2; ++time)
            EXPECT_TRUE(matches(scanOne(pool, folder.path() / name), VerdictKind::Skipped,
                                "do not fit into the temporary folder"))
                << name << describe(scanOne(pool, folder.path() / name));
    // A member that the unpacker cuts off at the limit in silence.
    limits.maxFileSize = 8u << 20;
    WorkerPool strict(limits);
    for (const char *name : {"member.zip", "zeros.gz", "nested.zip"})
        for (int time = 0; time < 2; ++time)
            EXPECT_TRUE(matches(scanOne(strict, folder.path() / name), VerdictKind::Skipped,
                                "its contents exceed the limits"))
                << name << describe(scanOne(strict, folder.path() / name));
}

TEST_F(PoolVerdicts, ManyPartsAreTooMuchInTotal)
{
    const std::string dir = folder.path().string();
    fs::create_directory(folder.path() / "parts");
    for (int part = 0; part < 12; ++part) {
        const auto path = folder.write("parts/" + std::to_string(part), std::to_string(part));
        ASSERT_EQ(truncate(path.c_str(), 7 << 20), 0);
    }
    run("cd " + dir + " && zip -qr parts.zip parts && tar czf parts.tgz parts");
    auto limits = config(realWorker(), 1);
    limits.maxFileSize = 8u << 20; // 72 MiB in total
    WorkerPool pool(limits);
    for (const char *name : {"parts.zip", "parts.tgz"})
        EXPECT_TRUE(matches(scanOne(pool, folder.path() / name), VerdictKind::Skipped,
                            "its contents exceed the limits"))
            << name << describe(scanOne(pool, folder.path() / name));
}

TEST_F(PoolVerdicts, NestedTooDeepIsSkipped)
{
    const std::string dir = folder.path().string();
    folder.write("n0", "the innermost");
    run("cd " + dir + " && for i in $(seq 1 25); do zip -q n$i n$((i-1)) && mv n$i.zip n$i; done");
    WorkerPool pool(config(realWorker()));
    EXPECT_TRUE(matches(scanOne(pool, folder.path() / "n25"), VerdictKind::Skipped, "nested"))
        << describe(scanOne(pool, folder.path() / "n25"));
}

TEST_F(PoolVerdicts, AThreatBesideABombOrASecretIsFound)
{
    const std::string dir = folder.path().string();
    folder.write("eicar.com", eicar());
    folder.write("secret", "secret");
    writeZeros(folder.path() / "zeros", 200 << 20);
    run("cd " + dir + " && zip -q first.zip eicar.com zeros && zip -q -P pw locked.zip secret && " +
        "cp locked.zip locked2.zip && zip -q locked2.zip eicar.com");
    WorkerPool pool(config(realWorker()));
    EXPECT_EQ(scanOne(pool, folder.path() / "first.zip").kind, VerdictKind::Threat);
    EXPECT_EQ(scanOne(pool, folder.path() / "locked2.zip").kind, VerdictKind::Threat);
    EXPECT_TRUE(
        matches(scanOne(pool, folder.path() / "locked.zip"), VerdictKind::Skipped, "encrypted"));
}

// An archiver that reads from a pipe leaves the sizes to an extension that libclamav does not know.
TEST_F(PoolVerdicts, AZipMemberThatIsPassedOverIsNotClean)
{
    const std::string dir = folder.path().string();
    run("cd " + dir + " && echo harmless | zip -q -fz streamed.zip - && " +
        "zip -q outer.zip streamed.zip && echo harmless > plain && zip -q plain.zip plain");
    WorkerPool pool(config(realWorker()));
    for (const char *name : {"streamed.zip", "outer.zip"}) {
        const Verdict verdict = scanOne(pool, folder.path() / name);
        EXPECT_TRUE(matches(verdict, VerdictKind::Skipped, "cannot be unpacked"))
            << name << ": " << describe(verdict);
    }
    EXPECT_EQ(scanOne(pool, folder.path() / "plain.zip").kind, VerdictKind::Clean);
}

TEST_F(PoolVerdicts, OptionsDecideWhatIsLookedInto)
{
    const std::string dir = folder.path().string();
    folder.write("eicar.com", eicar());
    run("cd " + dir + " && zip -q a.zip eicar.com && tar czf a.tgz eicar.com");
    WorkerPool pool(config(realWorker(), 1));
    const ScanOptions noArchives{false, true};
    const ScanOptions notPacked{true, false};
    for (const char *name : {"a.zip", "a.tgz"}) {
        EXPECT_EQ(scanOne(pool, folder.path() / name, noArchives).kind, VerdictKind::Clean);
        // By the same worker, which must not remember that.
        EXPECT_EQ(scanOne(pool, folder.path() / name).kind, VerdictKind::Threat);
        EXPECT_EQ(scanOne(pool, folder.path() / name, notPacked).kind, VerdictKind::Threat);
    }
    const fs::path packed = fs::path(kTestFiles) / "clam-upx.exe";
    if (!fs::exists(packed))
        GTEST_SKIP() << "clamav-testfiles is not installed";
    EXPECT_EQ(scanOne(pool, packed, notPacked).kind, VerdictKind::Clean);
    EXPECT_EQ(scanOne(pool, packed).kind, VerdictKind::Threat);
    // A plain program in an archive is not a packed one.
    EXPECT_EQ(scanOne(pool, fs::path(kTestFiles) / "clam.zip", notPacked).kind,
              VerdictKind::Threat);
}

TEST_F(PoolVerdicts, AFileOfAnotherSizeHasChanged)
{
    WorkerPool pool(config(realWorker()));
    const auto path = folder.write("growing", "some text");
    const talo::files::UniqueFd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto session = pool.open();
    session->submit(1, fd.get(), 4, {});
    const auto result = session->next(std::chrono::seconds(30));
    ASSERT_TRUE(result);
    EXPECT_TRUE(matches(result->verdict, VerdictKind::Skipped, "changed while being scanned"));
    // The offset that others share is neither relied on nor a way to hide the beginning.
    const auto threat = folder.write("threat", eicar());
    const talo::files::UniqueFd moved(open(threat.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(lseek(moved.get(), 0, SEEK_END), 68);
    session->submit(2, moved.get(), 68, {});
    const auto found = session->next(std::chrono::seconds(30));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->verdict.kind, VerdictKind::Threat);
}

TEST_F(PoolVerdicts, AFolderIsAnError)
{
    WorkerPool pool(config(realWorker()));
    const talo::files::UniqueFd fd(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto session = pool.open();
    session->submit(1, fd.get(), 0, {});
    const auto result = session->next(std::chrono::seconds(30));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->verdict.kind, VerdictKind::Error);
}

TEST_F(PoolVerdicts, RootsOwnFilesAreReadThroughTheirDescriptors)
{
    const auto path = folder.write("private", eicar());
    fs::permissions(path, fs::perms::owner_read);
    fs::permissions(folder.path(), fs::perms::owner_all);
    WorkerPool pool(config(realWorker()));
    EXPECT_EQ(scanOne(pool, path).kind, VerdictKind::Threat);
}

} // namespace
