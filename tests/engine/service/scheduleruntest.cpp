// Scheduled scans of a real service: run when it is time, delayed but never lost, and never run
// twice.
#include "engine/liblastfullscandetails.h"
#include "engine/libreports.h"
#include "engine/libschedulescan.h"
#include "engine/service/manyfiles.h"
#include "engine/service/schedulebench.h"
#include "support/soon.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <linux/ioprio.h>
#include <random>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace talo::interface;

namespace
{

QStringList reports(const QString &type)
{
    std::string list;
    int count = 0;
    libReports::GetReportList(list, "", "", &count);
    QStringList keys;
    for (const QString &record : QString::fromStdString(list).split(',', Qt::SkipEmptyParts))
        if (record.endsWith('#' + type))
            keys += record.section('#', 0, 0);
    return keys;
}

QList<qint64> childrenOf(qint64 process)
{
    QList<qint64> children;
    const QString tasks = QStringLiteral("/proc/%1/task").arg(process);
    for (const QString &thread : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(tasks + '/' + thread + "/children");
        if (file.open(QIODevice::ReadOnly))
            for (const QByteArray &child : file.readAll().simplified().split(' '))
                if (!child.isEmpty())
                    children += child.toLongLong();
    }
    return children;
}

// How many have which rank, on the processors and the drives alike.
struct Ranks {
    int normal = 0;
    int background = 0;
    int other = 0;

    void take(qint64 thread)
    {
        const int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
        const long io = syscall(SYS_ioprio_get, IOPRIO_WHO_PROCESS, thread);
        const bool idle = IOPRIO_PRIO_CLASS(io) == IOPRIO_CLASS_IDLE;
        ++(nice == 0 && !idle ? normal : nice == 19 && idle ? background : other);
    }
};

Ranks ranksBelow(const QString &tasks)
{
    Ranks ranks;
    for (const QString &thread : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        ranks.take(thread.toLongLong());
    return ranks;
}

const QString kFull = QStringLiteral("Scheduled Full Scan");
const QString kQuick = QStringLiteral("Scheduled Quick Scan");

} // namespace

class ScheduleRunTest : public ScheduleBench
{
    Q_OBJECT

private slots:
    void runAtTheirTime();
    void runOnceHoweverTheServiceIsKilled();
    void areMadeGoodOnceAfterAnAbsence();
    void runOneAfterTheOther();
    void waitForAScanOfTheirKind();
    void waitForOneOfFourJobsToEnd();
    void waitForMains();
    void waitForMainsNoLongerThanADay();
    void followTheTimeZone();
    void leaveTheMachineToOthers();
};

void ScheduleRunTest::runAtTheirTime()
{
    prepare({{"later", 3, 0}});
    start(kDue - 20, 10);
    QCOMPARE(libScheduleScan::AddScheduleScan("today", 1, 501, 8, 14, 5), 0);
    QCOMPARE(all().at(1).next, kDue);
    QVERIFY(all().at(1).waits.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    QVERIFY(reports(kQuick).isEmpty());
    std::string date;
    std::string time;
    std::string text;
    std::string type;
    const std::string key = reports(kFull).at(0).toStdString();
    QCOMPARE(libReports::GetReportData(key, date, time, text, type), 0);
    QCOMPARE(type, kFull.toStdString());
    QVERIFY2(text.find("Talo.Test.Eicar") != std::string::npos, text.c_str());
    char last[64] = "";
    libLastFullScanDetails::GetLastFullScanDetails(last);
    QVERIFY(last[0] != '\0');
    QCOMPARE(all().at(1).next, kDue + kDay);
}

void ScheduleRunTest::runOnceHoweverTheServiceIsKilled()
{
    prepare({{"daily", 1, 8}});
    std::mt19937 random(20261121);
    int begun = 0;
    for (int day = 0; day < 12; ++day) {
        const qint64 due = kDue + day * kDay;
        start(due - 2, 10);
        // Somewhere about the time when the scan begins, and where it ends.
        QTest::qWait(100 + static_cast<int>(random() % 500));
        kill();
        // What was missed follows two minutes after this.
        start(due + 30, 600);
        begun += reports(kFull).size() > day ? 1 : 0;
        QTRY_COMPARE_WITH_TIMEOUT(all().at(0).next, due + kDay, kSoon);
        QTRY_VERIFY_WITH_TIMEOUT(running().isEmpty(), kSoon);
        QCOMPARE(reports(kFull).size(), day + 1);
    }
    // Some of the kills came before the beginning and some after it.
    QVERIFY2(begun > 0 && begun < 12, qPrintable(QString::number(begun)));
}

void ScheduleRunTest::areMadeGoodOnceAfterAnAbsence()
{
    prepare({{"daily", 1, 8}});
    // Not at once, when the machine is busy with its start.
    start(kDue + 5 * kDay + kHour, 1);
    QCOMPARE(all().at(0).next / 10, (kDue + 5 * kDay + kHour + 120) / 10);
    QVERIFY(running().isEmpty() && reports(kFull).isEmpty());
    start(kDue + 5 * kDay + kHour, 120);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    QCOMPARE(all().at(0).next, kDue + 6 * kDay);
    // Nor does the next absence bring back what was settled.
    start(kDue + 6 * kDay - kHour, 600);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).next > kDue + 6 * kDay, kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 2, kSoon);
}

void ScheduleRunTest::runOneAfterTheOther()
{
    prepare({{"first", 1, 8}, {"other", 3, 8}, {"third", 1, 6}});
    start(kDue - 20, 20);
    int most = 0;
    QTRY_VERIFY_WITH_TIMEOUT((most = qMax(most, running().size()),
                              reports(kFull).size() == 2 && reports(kQuick).size() == 1),
                             kSoon);
    QCOMPARE(most, 1);
}

void ScheduleRunTest::waitForAScanOfTheirKind()
{
    writeManyFiles(folder_->filePath("place"));
    prepare({{"full", 1, 8}, {"quick", 3, 8}});
    start(kDue - 20, 10);
    const uint job = pausedScan(FullScan, "/");
    QVERIFY(job != 0);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("this kind"), kSoon);
    // It does not hold up the other.
    QTRY_COMPARE_WITH_TIMEOUT(reports(kQuick).size(), 1, kSoon);
    QVERIFY(reports(kFull).isEmpty());
    call(kScan, "Stop", {job});
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
}

void ScheduleRunTest::waitForOneOfFourJobsToEnd()
{
    writeManyFiles(folder_->filePath("place"));
    prepare({{"full", 1, 8}});
    start(kDue - 20, 10);
    QList<uint> jobs;
    for (int number = 0; number < 4; ++number)
        jobs += pausedScan(CustomScan, QFile::encodeName(folder_->path()));
    QCOMPARE(running().size(), 4);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("four scans"), kSoon);
    QVERIFY(reports(kFull).isEmpty());
    call(kScan, "Stop", {jobs.at(2)});
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    // A report is there a moment before its scan is over.
    QTRY_COMPARE_WITH_TIMEOUT(running().size(), 3, kSoon);
}

void ScheduleRunTest::waitForMains()
{
    supply("AC", "Mains\n", "online", "0\n");
    supply("BAT0", "Battery\n", "status", "Discharging\n");
    prepare({{"full", 1, 8}});
    start(kDue - 20, 60);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("battery"), kSoon);
    QVERIFY(running().isEmpty());
    supply("AC", "Mains\n", "online", "1\n");
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
}

void ScheduleRunTest::waitForMainsNoLongerThanADay()
{
    supply("BAT0", "Battery\n", "status", "Discharging\n");
    prepare({{"weekly", 1, 6}});
    start(kDue - 20, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("battery"), kSoon);
    kill();
    // Also where the service has not been there all the time.
    start(kDue + kDay - kHour, 3600);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("battery"), kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    QCOMPARE(all().at(0).next, kDue + 7 * kDay);
}

void ScheduleRunTest::followTheTimeZone()
{
    const QString zone = folder_->filePath("zone");
    QVERIFY(QFile::copy("/usr/share/zoneinfo/Etc/UTC", zone));
    prepare({{"full", 1, 8}});
    qputenv("TZ", ':' + QFile::encodeName(zone));
    // Five hours before, an hour a second.
    start(kDue - 5 * kHour, 3600);
    QCOMPARE(all().at(0).next, kDue);
    QVERIFY(QFile::remove(zone));
    QVERIFY(QFile::copy("/usr/share/zoneinfo/Etc/GMT-2", zone)); // two hours ahead of UTC
    QTRY_COMPARE_WITH_TIMEOUT(all().at(0).next, kDue - 2 * kHour + kDay, kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
}

// The threads that walk and open, and the workers that look inside.
void ScheduleRunTest::leaveTheMachineToOthers()
{
    writeManyFiles(folder_->filePath("place"));
    prepare({{"full", 1, 8}});
    start(kDue - 20, 10);
    QTRY_COMPARE_WITH_TIMEOUT(running().size(), 1, kSoon);
    const uint job = running().at(0).job;
    const auto progress = [&] {
        return QDBusReply<ScanProgress>(call(kScan, "Progress", {job, 0U})).value();
    };
    // No worker is started for what is left out.
    QTRY_VERIFY_WITH_TIMEOUT(progress().clean > 0, kSoon);
    call(kScan, "Pause", {job});
    QTRY_COMPARE_WITH_TIMEOUT(progress().state, uint(Paused), kSoon);
    const qint64 service = service_->processId();
    const Ranks threads = ranksBelow(QStringLiteral("/proc/%1/task").arg(service));
    QVERIFY(threads.background > 0 && threads.normal > 0);
    QCOMPARE(threads.other, 0);
    QVERIFY(getpriority(PRIO_PROCESS, static_cast<id_t>(service)) == 0);
    Ranks workers;
    for (const qint64 server : childrenOf(service))
        for (const qint64 worker : childrenOf(server))
            workers.take(worker);
    // Those for scans that somebody waits for are ready beside them.
    QVERIFY2(workers.background > 0 && workers.background == workers.normal,
             qPrintable(QStringLiteral("%1 %2").arg(workers.background).arg(workers.normal)));
    QCOMPARE(workers.other, 0);
    call(kScan, "Resume", {job});
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, 2 * kSoon);
}

QTEST_GUILESS_MAIN(ScheduleRunTest)
#include "scheduleruntest.moc"
