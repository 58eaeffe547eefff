// Processes, descriptors and signatures over the pool's life.
#include "engine/scan/longload.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace talo::scan;
using namespace talo::scan::test;
using namespace std::chrono_literals;

class PoolLife : public testing::Test
{
protected:
    void TearDown() override
    {
        EXPECT_TRUE(eventually([] { return descendants().empty(); })) << "left-over processes";
        EXPECT_TRUE(scratchFolders().empty());
    }

    fs::path hang() { return folder.write("hang", "TALO-FAULT hang\n"); }

    TestFolder folder;
};

// Keeps a file with a worker until told otherwise.
struct Submitted {
    Submitted(WorkerPool &pool, const fs::path &path)
        : session(pool.open()), fd(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        submit();
    }
    void submit()
    {
        struct stat status {
        };
        ASSERT_EQ(fstat(fd.get(), &status), 0);
        session->submit(1, fd.get(), static_cast<std::uint64_t>(status.st_size), {});
    }
    std::unique_ptr<WorkerPool::Session> session;
    talo::files::UniqueFd fd;
};

TEST_F(PoolLife, NothingRunsBeforeItIsNeededOrAfterItsEnd)
{
    const std::size_t before = openDescriptors();
    {
        WorkerPool pool(config(realWorker()));
        EXPECT_TRUE(processesOf(realWorker()).empty());
        EXPECT_FALSE(pool.signatures().loaded);
        EXPECT_EQ(pool.load(), "");
        EXPECT_EQ(pool.signatures().count, 2u);
        EXPECT_TRUE(eventually([] { return processesOf(realWorker()).size() == 3; }));
        EXPECT_EQ(scanOne(pool, folder.write("a", "text")).kind, VerdictKind::Clean);
    }
    EXPECT_EQ(processesOf(realWorker()).size(), 0u);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(PoolLife, DescriptorsAreNotLost)
{
    WorkerPool pool(config(faultyWorker()));
    ASSERT_EQ(pool.load(), "");
    scanOne(pool, folder.write("first", "text"));
    ASSERT_TRUE(eventually([] { return processesOf(faultyWorker()).size() == 3; }));
    const std::size_t before = openDescriptors();
    std::vector<fs::path> files;
    files.reserve(200);
    for (int number = 0; number < 200; ++number)
        files.push_back(
            folder.write(std::to_string(number), number % 50 == 1 ? "TALO-FAULT crash\n" : "text"));
    scanAll(pool, files);
    EXPECT_TRUE(eventually([before] { return openDescriptors() == before; }));
}

TEST_F(PoolLife, AKilledWorkerCostsOneFileAtMost)
{
    WorkerPool pool(config(faultyWorker(), 1));
    Submitted hanging(pool, hang());
    ASSERT_TRUE(eventually([] { return processesOf(faultyWorker()).size() == 2; }));
    const pid_t worker = processesOf(faultyWorker()).back();
    std::vector<fs::path> files{folder.write("a", "text"), folder.write("b", eicar())};
    std::thread killer([worker] {
        EXPECT_TRUE(eventually([worker] { return processorTime(worker) > 5; }));
        kill(worker, SIGKILL);
    });
    const auto verdicts = scanAll(pool, files);
    killer.join();
    EXPECT_EQ(verdicts.at("a").kind, VerdictKind::Clean);
    EXPECT_EQ(verdicts.at("b").kind, VerdictKind::Threat);
    const auto result = hanging.session->next(10s);
    ASSERT_TRUE(result);
    EXPECT_TRUE(matches(result->verdict, VerdictKind::Error, "Killed"))
        << describe(result->verdict);
}

TEST_F(PoolLife, AKilledServerIsReplacedAndCostsNothing)
{
    auto patient = config(faultyWorker(), 1);
    patient.fileTime = 6s;
    WorkerPool pool(patient);
    // In the middle of one file, with the others waiting behind it.
    std::vector<fs::path> files{hang()};
    for (int number = 0; number < 60; ++number)
        files.push_back(folder.write(std::to_string(number), "text " + std::to_string(number)));
    ASSERT_EQ(pool.load(), "");
    ASSERT_TRUE(eventually([] { return processesOf(faultyWorker()).size() == 2; }));
    const pid_t server = processesOf(faultyWorker()).front();
    const pid_t worker = processesOf(faultyWorker()).back();
    const long before = processorTime(worker);
    std::thread killer([server, worker, before] {
        EXPECT_TRUE(eventually([worker, before] { return processorTime(worker) > before; }));
        kill(server, SIGKILL);
    });
    const auto verdicts = scanAll(pool, files);
    killer.join();
    EXPECT_EQ(verdicts.size(), files.size());
    for (const auto &[name, verdict] : verdicts)
        EXPECT_EQ(verdict.kind, name == "hang" ? VerdictKind::Error : VerdictKind::Clean)
            << name << describe(verdict);
    EXPECT_TRUE(matches(verdicts.at("hang"), VerdictKind::Error, "took longer than 6 seconds"))
        << describe(verdicts.at("hang"));
    const auto running = processesOf(faultyWorker());
    ASSERT_FALSE(running.empty());
    EXPECT_NE(running.front(), server);
}

// A machine that is short of memory kills what takes most of it. That says nothing of the
// signatures, which whoever asked would think unfit.
TEST_F(PoolLife, AServerThatIsKilledWhileItLoadsIsReplaced)
{
    for (const int kills : {1, 2, 3}) {
        WorkerPool pool(config(realWorker()));
        std::thread killer([kills] {
            std::set<pid_t> killed;
            EXPECT_TRUE(eventually([&] {
                for (const pid_t server : processesOf(realWorker()))
                    if (killed.size() < static_cast<std::size_t>(kills) &&
                        killed.insert(server).second)
                        kill(server, SIGKILL);
                return killed.size() == static_cast<std::size_t>(kills);
            }));
        });
        const std::string failure = pool.load();
        killer.join();
        if (kills < 3)
            EXPECT_EQ(failure, "");
        else
            EXPECT_EQ(failure, "the scan worker ended while it loaded the signatures");
    }
}

TEST_F(PoolLife, SignaturesThatCannotBeLoadedAreAnErrorForEachFile)
{
    const struct {
        const char *name;
        std::string folder;
        const char *reason;
    } kCases[] = {
        {"missing", (folder.path() / "missing").string(), "cannot be opened"},
        {"empty", (folder.path() / "empty").string(), "cannot be loaded"},
        {"damaged", (folder.path() / "damaged").string(), "cannot be loaded"},
    };
    fs::create_directory(folder.path() / "empty");
    folder.write("damaged/x.ndb", "this is no signature\n");
    for (const auto &wanted : kCases) {
        auto bad = config(realWorker());
        bad.signatureFolder = wanted.folder;
        WorkerPool pool(bad);
        const std::string failure = pool.load();
        EXPECT_NE(failure.find(wanted.reason), std::string::npos) << wanted.name << ": " << failure;
        EXPECT_FALSE(pool.signatures().loaded);
        const auto verdicts =
            scanAll(pool, {folder.write("a", "text"), folder.write("b", eicar())});
        for (const auto &[name, verdict] : verdicts)
            EXPECT_TRUE(matches(verdict, VerdictKind::Error, wanted.reason)) << describe(verdict);
        // It recovers as soon as there is something to load.
        fs::remove_all(wanted.folder);
        fs::copy(builtInSignatures(), wanted.folder);
        EXPECT_EQ(pool.load(), "") << wanted.name;
        EXPECT_EQ(scanOne(pool, folder.path() / "b").kind, VerdictKind::Threat) << wanted.name;
    }
}

TEST_F(PoolLife, AProgramThatCannotBeStartedIsAnError)
{
    WorkerPool pool(config((folder.path() / "no-such-program").string()));
    EXPECT_NE(pool.load().find("cannot be started"), std::string::npos);
    EXPECT_EQ(scanOne(pool, folder.write("a", "text")).kind, VerdictKind::Error);
}

TEST_F(PoolLife, SignaturesAreLetGoWhenIdleAndLoadedAgain)
{
    auto brief = config(realWorker());
    brief.idleUnload = 100ms;
    WorkerPool pool(brief);
    const auto file = folder.write("a", eicar());
    EXPECT_EQ(scanOne(pool, file).kind, VerdictKind::Threat);
    EXPECT_TRUE(eventually([&pool] { return !pool.signatures().loaded; }));
    EXPECT_TRUE(eventually([] { return descendants().empty(); }));
    EXPECT_EQ(scanOne(pool, file).kind, VerdictKind::Threat);
}

TEST_F(PoolLife, ACancelledFileIsDroppedSoon)
{
    WorkerPool pool(config(faultyWorker(), 1));
    Submitted hanging(pool, hang());
    ASSERT_TRUE(eventually([] { return processesOf(faultyWorker()).size() == 2; }));
    hanging.session->cancel();
    EXPECT_EQ(hanging.session->pending(), 0u);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(scanOne(pool, folder.write("a", "text")).kind, VerdictKind::Clean);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_FALSE(hanging.session->next(50ms));
    // The session is good for another scan.
    hanging.fd.reset(open((folder.path() / "a").c_str(), O_RDONLY | O_CLOEXEC));
    hanging.submit();
    const auto result = hanging.session->next(10s);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->verdict.kind, VerdictKind::Clean);
}

TEST_F(PoolLife, OneSessionDoesNotStarveAnother)
{
    WorkerPool pool(config(realWorker(), 1));
    std::atomic<bool> enough{false};
    const auto file = folder.write("a", "text");
    std::thread busy([&] {
        while (!enough)
            scanAll(pool, std::vector<fs::path>(200, file));
    });
    for (int time = 0; time < 5; ++time) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(scanOne(pool, folder.path() / "a").kind, VerdictKind::Clean);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    }
    enough = true;
    busy.join();
}

TEST_F(PoolLife, ItsEndAnswersWhatIsStillWaitedFor)
{
    auto pool = std::make_unique<WorkerPool>(config(faultyWorker(), 1));
    Submitted hanging(*pool, hang());
    for (std::uint64_t cookie = 2; cookie < 20; ++cookie)
        hanging.session->submit(cookie, hanging.fd.get(), 16, {});
    ASSERT_TRUE(eventually([] { return processesOf(faultyWorker()).size() == 2; }));
    pool.reset();
    EXPECT_EQ(hanging.session->pending(), 19u);
    for (int number = 0; number < 19; ++number) {
        const auto result = hanging.session->next(0ms);
        ASSERT_TRUE(result);
        EXPECT_EQ(result->verdict.kind, VerdictKind::Error);
    }
    hanging.submit();
    ASSERT_TRUE(hanging.session->next(0ms));
}

TEST_F(PoolLife, ItEndsWhileItLoads)
{
    for (int time = 0; time < 5; ++time) {
        WorkerPool pool(config(realWorker()));
        Submitted file(pool, folder.write("a", "text"));
        std::this_thread::sleep_for(std::chrono::milliseconds(time * 5));
    }
}

TEST_F(PoolLife, NoWorkerIsEverRoot)
{
    WorkerPool pool(config(realWorker()));
    ASSERT_EQ(pool.load(), "");
    ASSERT_TRUE(eventually([] { return processesOf(realWorker()).size() == 3; }));
    for (const pid_t pid : processesOf(realWorker())) {
        struct stat status {
        };
        ASSERT_EQ(stat(("/proc/" + std::to_string(pid) + "/task").c_str(), &status), 0);
        std::FILE *file = std::fopen(("/proc/" + std::to_string(pid) + "/status").c_str(), "re");
        ASSERT_NE(file, nullptr);
        char line[256];
        while (std::fgets(line, sizeof line, file)) {
            const std::string text(line);
            if (text.rfind("Uid:", 0) == 0) {
                EXPECT_EQ(text.find("\t0"), std::string::npos) << text;
            }
            if (text.rfind("CapEff:", 0) == 0 || text.rfind("CapPrm:", 0) == 0) {
                EXPECT_NE(text.find("0000000000000000"), std::string::npos) << text;
            }
            if (text.rfind("NoNewPrivs:", 0) == 0) {
                EXPECT_NE(text.find('1'), std::string::npos);
            }
        }
        std::fclose(file);
    }
}

TEST_F(PoolLife, LeftoversOfAKilledProcessAreSwept)
{
    const fs::path left = fs::temp_directory_path() / "talo-scan-leftover";
    fs::create_directories(left / "0");
    fs::permissions(left, fs::perms::owner_all);
    WorkerPool pool(config(realWorker()));
    EXPECT_EQ(pool.load(), "");
    EXPECT_FALSE(fs::exists(left));
}

// Who is killed cannot clean up: so there must be nothing where the workers write to memory alone.
TEST_F(PoolLife, NothingLiesInTheTemporaryPlaceWhileSignaturesAreLoadedOrInUse)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root is sure to have memory of its own to write to";
    const LongLoad many;
    WorkerPool pool(many.pool());
    auto loading = std::async(std::launch::async, [&] { return pool.load(Priority::Background); });
    ASSERT_TRUE(eventually([] { return LongLoad::yields(); }));
    EXPECT_TRUE(eventually([] { return scratchFolders().empty(); }));
    EXPECT_TRUE(LongLoad::yields()) << "it was loaded by then";
    EXPECT_EQ(loading.get(), "");
    EXPECT_TRUE(scratchFolders().empty());
    EXPECT_EQ(scanOne(pool, folder.write("file", "harmless")).kind, VerdictKind::Clean);
}

} // namespace
