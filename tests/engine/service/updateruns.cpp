#include "engine/service/updateruns.h"

#include "engine/updates.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTest>

std::mutex reportMutex;
std::vector<Report> reports;
std::atomic<int> lastStatus{-1};

void note(long long total, long long remaining, float percentage, int speed, int status)
{
    QElapsedTimer clock;
    clock.start();
    const std::lock_guard lock(reportMutex);
    reports.push_back({total, remaining, percentage, speed, status, clock.msecsSinceReference(),
                       std::this_thread::get_id()});
    lastStatus = status;
}

int update(int *code)
{
    {
        const std::lock_guard lock(reportMutex);
        reports.clear();
        lastStatus = -1;
    }
    register_callback(note);
    int handle = 0;
    const int prepared = initiate_sig_update(&handle);
    const int result = prepared == 0 ? start_sig_update(handle) : prepared;
    if (code != nullptr)
        *code = result;
    return lastStatus;
}

void UpdateRuns::initTestCase()
{
    bench_ = std::make_unique<UpdateBench>();
    QVERIFY(bench_->ready());
}

void UpdateRuns::init()
{
    QDir(bench_->path("state")).removeRecursively();
    bench_->serve("normal");
    QVERIFY(bench_->configure({}));
    QVERIFY(bench_->publish("Talo.Test.Old"));
    QVERIFY(bench_->startService());
    QCOMPARE(update(), 2);
}

void UpdateRuns::cleanup()
{
    if (bench_->service() != nullptr)
        bench_->endService();
}
