// A worker that a file makes do its worst: it costs that file, and no other.
#include "engine/scan/pool_fixture.h"

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;
using namespace std::chrono_literals;

class PoolFaults : public testing::Test
{
protected:
    fs::path fault(const std::string &order)
    {
        return folder.write("fault " + order, "TALO-FAULT " + order + "\n");
    }

    // Scans the fault in the midst of harmless and harmful files, which must all be judged.
    Verdict among(WorkerPool &pool, const fs::path &bad)
    {
        std::vector<fs::path> files;
        for (int number = 0; number < 40; ++number) {
            if (number == 10)
                files.push_back(bad);
            const std::string name = std::to_string(number);
            files.push_back(number % 8 == 0 ? folder.write("threat" + name, eicar())
                                            : folder.write("clean" + name, "text " + name));
        }
        const auto verdicts = scanAll(pool, files);
        EXPECT_EQ(verdicts.size(), files.size());
        for (const auto &[name, verdict] : verdicts) {
            if (name == bad.filename())
                continue;
            const bool threat = name.rfind("threat", 0) == 0;
            EXPECT_EQ(verdict.kind, threat ? VerdictKind::Threat : VerdictKind::Clean)
                << name << ": " << describe(verdict);
        }
        const auto found = verdicts.find(bad.filename().string());
        return found == verdicts.end() ? Verdict{} : found->second;
    }

    TestFolder folder;
};

TEST_F(PoolFaults, ACrashCostsOneFile)
{
    WorkerPool pool(config(faultyWorker()));
    const Verdict verdict = among(pool, fault("crash"));
    EXPECT_TRUE(matches(verdict, VerdictKind::Error, "Segmentation fault")) << describe(verdict);
}

TEST_F(PoolFaults, AHangIsEndedInTime)
{
    auto hasty = config(faultyWorker());
    hasty.fileTime = 300ms;
    WorkerPool pool(hasty);
    const Verdict verdict = among(pool, fault("hang"));
    EXPECT_TRUE(matches(verdict, VerdictKind::Error, "took longer than 1 second"))
        << describe(verdict);
}

TEST_F(PoolFaults, ExhaustionOfMemoryCostsOneFile)
{
    auto poor = config(faultyWorker());
    poor.maxMemory = 256u << 20;
    WorkerPool pool(poor);
    const Verdict verdict = among(pool, fault("exhaust"));
    EXPECT_TRUE(matches(verdict, VerdictKind::Error, "signal 6")) << describe(verdict);
}

TEST_F(PoolFaults, AFullTemporaryFolderIsEmptiedForTheNext)
{
    auto cramped = config(faultyWorker(), 1);
    cramped.maxTemporary = 8u << 20;
    WorkerPool pool(cramped);
    const Verdict verdict = among(pool, fault("filltmp"));
    EXPECT_TRUE(matches(verdict, VerdictKind::Error, "signal 6")) << describe(verdict);
    // Unpacking needs the folder.
    const fs::path archive = "/usr/share/clamav-testfiles/clam.zip";
    if (fs::exists(archive)) {
        EXPECT_EQ(scanOne(pool, archive).kind, VerdictKind::Threat);
    }
}

TEST_F(PoolFaults, AProgramCannotBeStarted)
{
    WorkerPool pool(config(faultyWorker()));
    const Verdict verdict = among(pool, fault("exec"));
    EXPECT_TRUE(matches(verdict, VerdictKind::Error, "signal 31")) << describe(verdict);
}

TEST_F(PoolFaults, WhatAWorkerMustNotDoIsRefused)
{
    WorkerPool pool(config(faultyWorker()));
    for (const char *order :
         {"socket", "openpasswd", "fork", "signal", "code", "identity", "descriptors"}) {
        const Verdict verdict = scanOne(pool, fault(order));
        EXPECT_EQ(verdict.kind, VerdictKind::Clean) << order << ": " << describe(verdict);
    }
}

TEST_F(PoolFaults, LiesAreNotBelieved)
{
    for (const char *how : {"magic", "version", "id", "outcome", "length", "reasonless",
                            "descriptor", "oversized", "short", "closed"}) {
        // One worker, so that the lie about file 1 is the first file's.
        WorkerPool pool(config(faultyWorker(), 1));
        const std::size_t before = openDescriptors();
        const Verdict verdict = scanOne(pool, fault("lie " + std::string(how)));
        EXPECT_EQ(verdict.kind, VerdictKind::Error) << how << ": " << describe(verdict);
        EXPECT_EQ(scanOne(pool, folder.write("after", "text")).kind, VerdictKind::Clean) << how;
        // The control socket, the worker's and the temporary folder.
        EXPECT_TRUE(eventually([before] { return openDescriptors() == before + 3; })) << how;
    }
}

TEST_F(PoolFaults, AWorkerThatSaysItLeavesAndStaysIsReplaced)
{
    WorkerPool pool(config(faultyWorker(), 1));
    EXPECT_EQ(scanOne(pool, fault("lie leaving")).kind, VerdictKind::Threat);
    const auto session = pool.open();
    const auto path = folder.write("after", "text");
    const talo::files::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    session->submit(1, file.get(), 4, {});
    const auto result = session->next(std::chrono::seconds(20));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->verdict.kind, VerdictKind::Clean);
}

TEST_F(PoolFaults, BinaryTextIsMadeReadable)
{
    auto hasty = config(faultyWorker(), 1);
    WorkerPool pool(hasty);
    const Verdict verdict = scanOne(pool, fault("lie binary"));
    EXPECT_EQ(verdict.kind, VerdictKind::Threat);
    EXPECT_EQ(verdict.detail, "?[31m???");
}

TEST_F(PoolFaults, TheProductHasNoneOfThis)
{
    std::ifstream program(realWorker(), std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(program)), {});
    ASSERT_GT(content.size(), 10000u);
    EXPECT_EQ(content.find("TALO-FAULT"), std::string::npos);
}

TEST_F(PoolFaults, ManyFaultsLeaveThePoolWorking)
{
    WorkerPool pool(config(faultyWorker()));
    std::vector<fs::path> files;
    files.reserve(12);
    for (int number = 0; number < 12; ++number)
        files.push_back(folder.write("crash" + std::to_string(number), "TALO-FAULT crash\n"));
    for (const auto &[name, verdict] : scanAll(pool, files))
        EXPECT_EQ(verdict.kind, VerdictKind::Error) << name;
    EXPECT_EQ(scanOne(pool, folder.write("after", "text")).kind, VerdictKind::Clean);
}

} // namespace
