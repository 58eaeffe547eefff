#include "scan/job.h"

#include "engine/files/sandbox.h"
#include "engine/scan/fakesource.h"
#include "scan/quarantine.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace talo::scan;
using namespace talo::test;
using std::chrono::milliseconds;

namespace
{

// What a job took down; read after its end.
struct Records {
    std::map<std::string, Threat> threats;
    std::map<std::string, PassedOver> passedOver;
    int ends = 0;
    JobEnd end = JobEnd::Finished;
    Totals totals;
    std::string failure;
};

class Recorder : public JobRecorder
{
public:
    explicit Recorder(Records &records) : records_(records) {}
    void threat(const Threat &threat) override { records_.threats[threat.path] = threat; }
    void passedOver(const PassedOver &file) override { records_.passedOver[file.path] = file; }
    void ended(JobEnd end, const Totals &totals, const std::string &failure) override
    {
        ++records_.ends;
        records_.end = end;
        records_.totals = totals;
        records_.failure = failure;
    }

private:
    Records &records_;
};

class JobTest : public testing::Test
{
protected:
    JobTest() : quarantine_(folder_ / "vault") { mkdir((folder_ / "files").c_str(), 0755); }

    void file(const std::string &name, const std::string &text) { writeFile(path(name), text); }
    std::string path(const std::string &name) const { return folder_ / ("files/" + name); }

    std::unique_ptr<Job> job(std::vector<std::string> roots = {}, ScanSettings settings = {})
    {
        if (roots.empty())
            roots = {folder_ / "files"};
        return std::make_unique<Job>(ScanKind::Custom, std::move(roots), std::move(settings),
                                     std::make_unique<FakeSource>(control_), quarantine_,
                                     std::make_unique<Recorder>(records_));
    }

    JobProgress run(std::vector<std::string> roots = {}, ScanSettings settings = {})
    {
        const auto one = job(std::move(roots), std::move(settings));
        one->start();
        one->wait();
        return one->progress();
    }

    TempFolder folder_;
    Quarantine quarantine_;
    Records records_;
    std::shared_ptr<FakeSource::Control> control_ = std::make_shared<FakeSource::Control>();
};

template <class Condition> bool comesTrue(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

} // namespace

TEST_F(JobTest, addsUpWhatItFound)
{
    for (int i = 0; i < 50; ++i)
        file("clean" + std::to_string(i), "12345");
    file("big", "SKIP larger than the limit");
    file("bad", "FAIL the scanner crashed");
    file("evil", "THREAT Test.Virus");
    mkfifo(path("pipe").c_str(), 0600);
    const JobProgress progress = run();

    EXPECT_EQ(progress.phase, JobPhase::Ended);
    EXPECT_EQ(progress.end, JobEnd::Finished);
    EXPECT_EQ(progress.totals.clean.files, 50u);
    EXPECT_EQ(progress.totals.clean.bytes, 250u);
    EXPECT_EQ(progress.totals.threats.files, 1u);
    EXPECT_EQ(progress.totals.threats.bytes, 17u);
    EXPECT_EQ(progress.totals.skipped.files, 2u);
    EXPECT_EQ(progress.totals.errors.files, 1u);
    EXPECT_EQ(progress.remaining.count(), 0);
    EXPECT_EQ(records_.ends, 1);
    EXPECT_EQ(records_.totals.clean.files, 50u);
    EXPECT_EQ(records_.passedOver[path("big")].kind, VerdictKind::Skipped);
    EXPECT_EQ(records_.passedOver[path("big")].reason, "larger than the limit");
    EXPECT_EQ(records_.passedOver[path("bad")].kind, VerdictKind::Error);
    EXPECT_EQ(records_.passedOver[path("pipe")].reason, "a named pipe");
    EXPECT_EQ(records_.threats[path("evil")].name, "Test.Virus");
}

TEST_F(JobTest, callsNothingCleanThatGotNoAnswer)
{
    file("a", "LOST");
    file("b", "fine");
    const JobProgress progress = run();
    EXPECT_EQ(progress.totals.clean.files, 1u);
    EXPECT_EQ(progress.totals.errors.files, 1u);
    EXPECT_EQ(records_.passedOver[path("a")].reason, "the scanner gave no answer");
}

TEST_F(JobTest, countsAheadWhatItWillScan)
{
    for (int i = 0; i < 30; ++i)
        file(std::to_string(i), "12345");
    control_->hold();
    const auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitForSubmitted(1));
    EXPECT_TRUE(comesTrue([&] { return one->progress().filesTotal == 30; }));
    EXPECT_EQ(one->progress().bytesTotal, 150u);
    EXPECT_EQ(one->progress().totals.clean.files, 0u);
    EXPECT_EQ(one->progress().remaining.count(), -1);
    EXPECT_EQ(one->progress().current.rfind(folder_ / "files/", 0), 0u);
    control_->release();
    one->wait();
    EXPECT_EQ(one->progress().totals.clean.files, 30u);
}

TEST_F(JobTest, submitsNoMoreThanThereIsRoom)
{
    for (int i = 0; i < 30; ++i)
        file(std::to_string(i), "x");
    control_->room = 5;
    control_->hold();
    const auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitUntilAwaited());
    EXPECT_EQ(control_->submitted(), 5u);
    control_->release();
    one->wait();
    EXPECT_EQ(control_->submitted(), 30u);
}

TEST_F(JobTest, restsWhilePaused)
{
    for (int i = 0; i < 100; ++i)
        file(std::to_string(i), "x");
    control_->hold();
    const auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitUntilAwaited());
    one->pause();
    EXPECT_EQ(one->progress().phase, JobPhase::Paused);
    const milliseconds before = one->progress().elapsed;
    control_->release();
    // What the workers have already comes to its end; nothing more is given them.
    EXPECT_TRUE(comesTrue([&] { return one->progress().totals.clean.files == control_->room; }));
    EXPECT_EQ(control_->submitted(), control_->room);
    EXPECT_EQ(one->progress().elapsed, before);
    one->resume();
    one->wait();
    EXPECT_EQ(one->progress().totals.clean.files, 100u);
}

TEST_F(JobTest, stopsAtOnceAndTellsWhatItHad)
{
    for (int i = 0; i < 100; ++i)
        file(std::to_string(i), "x");
    control_->hold();
    const auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitForSubmitted(control_->room));
    one->stop();
    one->wait();
    EXPECT_EQ(one->progress().end, JobEnd::Stopped);
    EXPECT_TRUE(control_->cancelled());
    EXPECT_EQ(records_.end, JobEnd::Stopped);
    EXPECT_EQ(records_.ends, 1);
    EXPECT_EQ(records_.totals.clean.files, 0u) << "what was not scanned is not clean";
}

TEST_F(JobTest, stopsWhilePausedOrLoading)
{
    file("a", "x");
    control_->hold();
    auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitForSubmitted(1));
    one->pause();
    one->stop();
    one->wait();
    EXPECT_EQ(records_.end, JobEnd::Stopped);

    control_->holdLoading(true);
    one = job();
    one->start();
    EXPECT_EQ(one->progress().phase, JobPhase::Preparing);
    one->stop();
    one->wait();
    EXPECT_EQ(records_.end, JobEnd::Stopped);
    EXPECT_EQ(records_.ends, 2);
    control_->holdLoading(false); // the job's end waits for this
}

TEST_F(JobTest, isStoppedByItsDestruction)
{
    file("a", "x");
    control_->hold();
    auto one = job();
    one->start();
    one.reset();
    EXPECT_EQ(records_.end, JobEnd::Stopped);
    job().reset(); // one that was never started
    EXPECT_EQ(records_.ends, 1);
}

// Two of them for each thread: a stack and what guards it.
std::ptrdiff_t mappings()
{
    std::ifstream maps("/proc/self/maps");
    return std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
}

TEST_F(JobTest, keepsNoThreadOnceItIsLetGo)
{
    file("a", "fine");
    constexpr int kJobs = 60;
    std::vector<std::unique_ptr<Job>> ended;
    const auto before = mappings();
    for (int number = 0; number < kJobs; ++number) {
        ended.push_back(job());
        ended.back()->start();
        ended.back()->wait();
        ended.back()->letGo();
    }
    EXPECT_LT(mappings() - before, kJobs);
    EXPECT_EQ(ended.front()->progress().totals.clean.files, 1u);
    EXPECT_EQ(ended.front()->progress().phase, JobPhase::Ended);
}

TEST_F(JobTest, failsWithoutSignatures)
{
    file("a", "x");
    control_->loadFailure = "no signatures are installed";
    const JobProgress progress = run();
    EXPECT_EQ(progress.end, JobEnd::Failed);
    EXPECT_EQ(progress.failure, "no signatures are installed");
    EXPECT_EQ(records_.failure, "no signatures are installed");
    EXPECT_EQ(control_->submitted(), 0u);
}

TEST_F(JobTest, failsWhereNoRootCanBeOpened)
{
    const JobProgress progress = run({folder_ / "no\nne"});
    EXPECT_EQ(progress.end, JobEnd::Failed);
    EXPECT_EQ(progress.failure, folder_ / "no\\nne: it does not exist");
}

TEST_F(JobTest, goesOnWhereOneRootCanBeOpened)
{
    file("a", "x");
    const JobProgress progress = run({folder_ / "none", folder_ / "files"});
    EXPECT_EQ(progress.end, JobEnd::Finished);
    EXPECT_EQ(progress.totals.errors.files, 1u);
    EXPECT_EQ(records_.passedOver[folder_ / "none"].reason, "it does not exist");
}

TEST_F(JobTest, entersNeitherTheQuarantineNorWhatElseIsOurs)
{
    file("a", "x");
    mkdir((folder_ / "state").c_str(), 0755);
    writeFile(folder_ / "state/b", "x");
    writeFile(folder_ / "vault/c", "x");
    ScanSettings settings;
    settings.leaveOut = {folder_ / "state"};
    const JobProgress progress = run({folder_.path()}, settings);
    EXPECT_EQ(progress.totals.clean.files, 1u);
    EXPECT_EQ(progress.totals.skipped.files, 2u);
}

TEST_F(JobTest, handsThreatsOutPieceByPiece)
{
    ScanSettings settings;
    settings.infected = {Action::Report, Action::Report};
    for (int i = 0; i < 5; ++i)
        file(std::to_string(i), "THREAT Test.Virus");
    const auto one = job({}, settings);
    one->start();
    one->wait();
    EXPECT_EQ(one->threats(0, 100).size(), 5u);
    EXPECT_EQ(one->threats(3, 100).size(), 2u);
    EXPECT_EQ(one->threats(1, 2).size(), 2u);
    EXPECT_EQ(one->threats(1, 2)[0].path, one->threats(0, 100)[1].path);
    EXPECT_TRUE(one->threats(5, 1).empty());
    EXPECT_TRUE(one->threats(99, 1).empty());
}

TEST_F(JobTest, deletesByDefaultButOnlyReportsWhatIsSuspected)
{
    mkdir(path(".d").c_str(), 0755);
    file("infected", "THREAT Test.Virus");
    file("suspected", "THREAT Heuristics.Odd");
    file(".d/hidden", "THREAT Heuristics.Odd");
    run();
    EXPECT_FALSE(exists(path("infected")));
    EXPECT_TRUE(exists(path("suspected")));
    EXPECT_FALSE(exists(path(".d/hidden")));
    EXPECT_EQ(records_.threats[path("suspected")].outcome, "reported only");
    const auto kept = quarantine_.list();
    ASSERT_EQ(kept.size(), 2u);
    for (const auto &object : kept)
        EXPECT_EQ(records_.threats[object.path].outcome, "moved to quarantine (" + object.id + ")");
}

TEST_F(JobTest, doesNothingToAFileThatWasExchanged)
{
    file("evil", "THREAT Test.Virus");
    control_->hold();
    const auto one = job();
    one->start();
    ASSERT_TRUE(control_->waitForSubmitted(1));
    ASSERT_EQ(rename(path("evil").c_str(), path("moved").c_str()), 0);
    file("evil", "GOOD");
    control_->release();
    one->wait();
    EXPECT_EQ(readFile(path("evil")), "GOOD");
    EXPECT_EQ(records_.threats[path("evil")].outcome,
              "could not be deleted: another file has its name now; still there");
}

TEST_F(JobTest, maySafelyBeAskedFromManyThreads)
{
    for (int i = 0; i < 300; ++i)
        file(std::to_string(i), i % 10 ? "x" : "THREAT Heuristics.Odd");
    const auto one = job();
    std::atomic<bool> over{false};
    const auto ask = [&] {
        while (!over) {
            one->progress();
            one->threats(0, 10);
            one->pause();
            one->resume();
        }
    };
    std::thread askers[] = {std::thread(ask), std::thread(ask), std::thread(ask)};
    one->start();
    one->wait();
    over = true;
    for (std::thread &asker : askers)
        asker.join();
    EXPECT_EQ(one->progress().totals.clean.files, 270u);
    EXPECT_EQ(one->progress().totals.threats.files, 30u);
}
