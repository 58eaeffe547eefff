// Scheduled scans of a real service, whose schedules go by a clock of the test's: added with the
// engine's operations, run when it is time, delayed but never lost, and never run twice.
#include "engine/libimportexportsetting.h"
#include "engine/liblastfullscandetails.h"
#include "engine/libreports.h"
#include "engine/libschedulescan.h"
#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusReply>
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

constexpr qint64 kDay = 86400;
constexpr qint64 kDue = 1795269900; // 2026-11-21 14:05:00 UTC, a Saturday
constexpr int kSoon = 30000;        // in ms; for what takes much less

QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

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

std::string listed()
{
    std::string list;
    int count = -1;
    const int code = libScheduleScan::GetScheduleList(list, &count);
    return code == 0 ? std::to_string(count) + ':' + list : "code " + std::to_string(code);
}

// At 14:05.
struct Added {
    const char *name;
    int type;
    int weekday;
};

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

class ScheduleTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void areKeptAsThePanelSavesThem();
    void travelInASettingsFile();
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
    void areManagedInTheTerminal();
    void refuseAClockThatIsNone();

private:
    // The clock of the schedules begins at `moment` and goes `rate` times as fast.
    void start(qint64 moment, int rate);
    void kill();
    void prepare(const QList<Added> &schedules);
    void supply(const char *name, const char *type, const char *attribute, const char *value);
    QDBusMessage call(const char *interface, const char *method, const QVariantList &arguments = {})
    {
        return ask(bus_->connect("caller"), interface, method, arguments);
    }
    ScheduleList all() { return QDBusReply<ScheduleList>(call(kSchedules, "All")).value(); }
    RunningJobs running() { return QDBusReply<RunningJobs>(call(kScan, "Running")).value(); }
    uint pausedScan(uint kind, const QByteArray &path);

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
};

void ScheduleTest::initTestCase()
{
    registerTypes();
    qputenv("TZ", "UTC"); // the service's too
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
}

void ScheduleTest::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    // The workers read the set as another user.
    QVERIFY(QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755)));
    write(folder_->filePath("set/test.ndb"), "Talo.Test.Eicar:0:0:" + eicar().toHex() + "\n");
    write(folder_->filePath("place/virus"), eicar());
    QVERIFY(QDir().mkpath(folder_->filePath("power")));
}

void ScheduleTest::cleanup()
{
    kill();
    folder_.reset();
    qputenv("TZ", "UTC"); // as it is for the service
}

void ScheduleTest::cleanupTestCase()
{
    bus_.reset();
}

void ScheduleTest::start(qint64 moment, int rate)
{
    kill();
    service_ = startService(*bus_, folder_->filePath("state"),
                            {"--signatures", folder_->filePath("set"), "--power-supplies",
                             folder_->filePath("power"), "--schedule-clock",
                             QString::number(moment) + '*' + QString::number(rate)});
    QVERIFY(service_ != nullptr);
}

void ScheduleTest::kill()
{
    service_.reset();
    QTRY_VERIFY(!bus_->owned());
}

// A full scan of this machine would take long, and one that acts is nothing for a test. The
// schedules are added long before they are due.
void ScheduleTest::prepare(const QList<Added> &schedules)
{
    start(kDue - kDay / 2, 1);
    SettingMap actions;
    for (const char *action : {"InfectedFirst", "InfectedSecond", "SuspectedFirst",
                               "SuspectedSecond", "HiddenFirst", "HiddenSecond"})
        actions.insert(action, 304);
    QCOMPARE(call(kSettings, "Apply", {"ScanActions", QVariant::fromValue(actions)}).type(),
             QDBusMessage::ReplyMessage);
    const QDir::Filters everything =
        QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    const QString ours = folder_->path();
    for (QString above = QStringLiteral("/"); above != ours;) {
        const QString next = above + (above == "/" ? "" : "/") +
                             ours.mid(above == "/" ? 1 : above.size() + 1).section('/', 0, 0);
        for (const QFileInfo &entry : QDir(above).entryInfoList(everything))
            if (entry.filePath() != next && !entry.filePath().contains(','))
                call(kExclusions, "Add", {QFile::encodeName(entry.filePath()), 401});
        above = next;
    }
    for (const Added &added : schedules)
        QCOMPARE(libScheduleScan::AddScheduleScan(
                     added.name, added.type, added.weekday == 8 ? 501 : 502, added.weekday, 14, 5),
                 0);
}

void ScheduleTest::supply(const char *name, const char *type, const char *attribute,
                          const char *value)
{
    const QString path = folder_->filePath(QStringLiteral("power/") + name + '/');
    write(path + "type", type);
    write(path + attribute, value);
}

// One that neither goes on nor ends.
uint ScheduleTest::pausedScan(uint kind, const QByteArray &path)
{
    const QDBusReply<uint> job = call(kScan, "Start", {kind, path});
    call(kScan, "Pause", {job.value()});
    return job.value();
}

void ScheduleTest::areKeptAsThePanelSavesThem()
{
    start(kDue, 1);
    QCOMPARE(listed(), "0:");
    QCOMPARE(libScheduleScan::AddScheduleScan("wed1", 1, 502, 3, 14, 5), 0);
    QCOMPARE(libScheduleScan::AddScheduleScan("\xd0\xbd\xd0\xbe\xd1\x87\xd1\x8c", 3, 501, 8, 0, 0),
             0);
    QCOMPARE(libScheduleScan::AddScheduleScan("WED1", 3, 501, 8, 1, 0), 602);
    QCOMPARE(libScheduleScan::AddScheduleScan("wed2", 1, 502, 3, 14, 5), 603);
    QCOMPARE(libScheduleScan::AddScheduleScan("wed 2", 1, 502, 3, 14, 6), 605);
    QCOMPARE(libScheduleScan::AddScheduleScan("wed", 1, 502, 3, 14, 6), 606);
    QCOMPARE(libScheduleScan::AddScheduleScan("wed2", 2, 502, 3, 14, 6), 607);
    QCOMPARE(libScheduleScan::AddScheduleScan(nullptr, 1, 502, 3, 14, 6), 606);
    QCOMPARE(listed(), "2:wed1#Every Wednesday at 14:05#Full Scan,"
                       "\xd0\xbd\xd0\xbe\xd1\x87\xd1\x8c#Daily at 00:00#Quick Scan");
    kill();
    QCOMPARE(listed(), "code 608");
    start(kDue, 1);

    int type = 9;
    int weekday = 9;
    int hour = 99;
    int minute = 99;
    const auto details = [&](const char *name) {
        return libScheduleScan::GetScheduleScanDetails(name, &type, &weekday, &hour, &minute);
    };
    QCOMPARE(details("nobody"), 604);
    QCOMPARE(details(nullptr), 604);
    QCOMPARE(type + weekday + hour + minute, 216);
    QCOMPARE(details("Wed1"), 0);
    QVERIFY(type == 2 && weekday == 3 && hour == 14 && minute == 5);
    QCOMPARE(libScheduleScan::GetScheduleScanDetails("wed1", nullptr, nullptr, nullptr, nullptr),
             0);
    QCOMPARE(libScheduleScan::EditScheduleScan("wed1", "Daily1", 3, 501, 8, 23, 59), 0);
    QCOMPARE(details("daily1"), 0);
    QVERIFY(type == 1 && weekday == 8 && hour == 23 && minute == 59);
    QCOMPARE(libScheduleScan::EditScheduleScan("wed1", "Daily2", 3, 501, 8, 23, 58), 604);
    QCOMPARE(libScheduleScan::EditScheduleScan(nullptr, "Daily2", 3, 501, 8, 23, 58), 604);
    QCOMPARE(libScheduleScan::RemoveScheduleScan("\xd0\x9d\xd0\x9e\xd0\xa7\xd0\xac"), 0);
    QCOMPARE(libScheduleScan::RemoveScheduleScan("wed1"), 604);
    QCOMPARE(listed(), "1:Daily1#Daily at 23:59#Quick Scan");
}

void ScheduleTest::travelInASettingsFile()
{
    start(kDue - 600, 1);
    QCOMPARE(libScheduleScan::AddScheduleScan("night", 1, 501, 8, 3, 0), 0);
    QCOMPARE(libScheduleScan::AddScheduleScan("Sunday", 3, 502, 0, 14, 5), 0);
    const std::string all = listed();
    const QDBusReply<QByteArray> text = call(kSettings, "Export");
    QVERIFY(
        text.value().contains("\nSchedule1=night,1,501,8,3,0\nSchedule2=Sunday,3,502,0,14,5\n"));
    QCOMPARE(libScheduleScan::RemoveScheduleScan("night"), 0);
    QCOMPARE(libScheduleScan::EditScheduleScan("sunday", "other", 1, 501, 8, 1, 1), 0);
    QCOMPARE(QDBusReply<int>(call(kSettings, "Import", {text.value()})).value(), 0);
    QCOMPARE(listed(), all);
    // They begin with the import, by the schedules' clock.
    QCOMPARE(all.at(0), '2');
    QCOMPARE(this->all().at(1).next, kDue + kDay);
}

void ScheduleTest::runAtTheirTime()
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

void ScheduleTest::runOnceHoweverTheServiceIsKilled()
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

void ScheduleTest::areMadeGoodOnceAfterAnAbsence()
{
    prepare({{"daily", 1, 8}});
    // Not at once, when the machine is busy with its start.
    start(kDue + 5 * kDay + 3600, 1);
    QCOMPARE(all().at(0).next / 10, (kDue + 5 * kDay + 3600 + 120) / 10);
    QVERIFY(running().isEmpty() && reports(kFull).isEmpty());
    start(kDue + 5 * kDay + 3600, 120);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    QCOMPARE(all().at(0).next, kDue + 6 * kDay);
    // Nor does the next absence bring back what was settled.
    start(kDue + 6 * kDay - 3600, 600);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).next > kDue + 6 * kDay, kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 2, kSoon);
}

void ScheduleTest::runOneAfterTheOther()
{
    prepare({{"first", 1, 8}, {"other", 3, 8}, {"third", 1, 6}});
    start(kDue - 20, 20);
    int most = 0;
    QTRY_VERIFY_WITH_TIMEOUT((most = qMax(most, running().size()),
                              reports(kFull).size() == 2 && reports(kQuick).size() == 1),
                             kSoon);
    QCOMPARE(most, 1);
}

void ScheduleTest::waitForAScanOfTheirKind()
{
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

void ScheduleTest::waitForOneOfFourJobsToEnd()
{
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
    QCOMPARE(running().size(), 3);
}

void ScheduleTest::waitForMains()
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

void ScheduleTest::waitForMainsNoLongerThanADay()
{
    supply("BAT0", "Battery\n", "status", "Discharging\n");
    prepare({{"weekly", 1, 6}});
    start(kDue - 20, 1000);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("battery"), kSoon);
    kill();
    // Also where the service has not been there all the time.
    start(kDue + kDay - 3600, 3600);
    QTRY_VERIFY_WITH_TIMEOUT(all().at(0).waits.contains("battery"), kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
    QCOMPARE(all().at(0).next, kDue + 7 * kDay);
}

void ScheduleTest::followTheTimeZone()
{
    const QString zone = folder_->filePath("zone");
    QVERIFY(QFile::copy("/usr/share/zoneinfo/Etc/UTC", zone));
    prepare({{"full", 1, 8}});
    qputenv("TZ", ':' + QFile::encodeName(zone));
    // Five hours before, an hour a second.
    start(kDue - 5 * 3600, 3600);
    QCOMPARE(all().at(0).next, kDue);
    QVERIFY(QFile::remove(zone));
    QVERIFY(QFile::copy("/usr/share/zoneinfo/Etc/GMT-2", zone)); // two hours ahead of UTC
    QTRY_COMPARE_WITH_TIMEOUT(all().at(0).next, kDue - 2 * 3600 + kDay, kSoon);
    QTRY_COMPARE_WITH_TIMEOUT(reports(kFull).size(), 1, kSoon);
}

// The threads that walk and open, and the workers that look inside.
void ScheduleTest::leaveTheMachineToOthers()
{
    for (int number = 0; number < 6000; ++number)
        write(folder_->filePath(QStringLiteral("place/%1").arg(number)),
              QByteArray::number(number));
    prepare({{"full", 1, 8}});
    start(kDue - 20, 10);
    QTRY_COMPARE_WITH_TIMEOUT(running().size(), 1, kSoon);
    const uint job = running().at(0).job;
    const auto progress = [&] {
        return QDBusReply<ScanProgress>(call(kScan, "Progress", {job, 0U})).value();
    };
    QTRY_VERIFY_WITH_TIMEOUT(progress().filesDone > 0, kSoon);
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

void ScheduleTest::areManagedInTheTerminal()
{
    struct End {
        int code;
        QString out;
        QString problem;
    };
    const auto talo = [](const QString &words) {
        Program program;
        program.start(built("bin/talo"), QStringList{"schedule"} + words.split(' '));
        program.waitForFinished();
        return End{program.exitCode(), program.readAllStandardOutput(),
                   program.readAllStandardError()};
    };
    QCOMPARE(talo("list").code, 2);
    start(kDue, 1);
    QCOMPARE(talo("list").out, "No scans are scheduled.\n");
    QCOMPARE(talo("next").out, "No scans are scheduled.\n");
    QVERIFY(talo("--help").out.contains("--weekly DAY") && talo("add --help").code == 0);
    QCOMPARE(talo("add night --full --daily --at 03:00").code, 0);
    QCOMPARE(talo("add Sunday --at 14:05 --weekly Sunday --quick").code, 0);
    QCOMPARE(talo("list").out, "night  full scan  daily at 03:00\n"
                               "Sunday  quick scan  every Sunday at 14:05\n");
    QCOMPARE(talo("next").out, "night  full scan  2026-11-22 03:00\n");
    const std::pair<QString, QString> refused[] = {
        {"add", "takes list"},
        {"add other", "--full or --quick"},
        {"add other --full", "--daily or --weekly"},
        {"add other --full --daily", "--at HH:MM"},
        {"add other --full --daily --at", "00:00 to 23:59"},
        {"add other --full --daily --at 24:00", "00:00 to 23:59"},
        {"add other --full --daily --at 3", "00:00 to 23:59"},
        {"add other --full --weekly --at 03:01", "takes a day"},
        {"add other --full --quick --daily --at 03:01", "one kind"},
        {"add other --full --daily --weekly monday --at 03:01", "either"},
        {"add other --full --hourly", "knows"},
        {"add NIGHT --full --daily --at 03:01", "of this name"},
        {"add other --full --daily --at 03:00", "same time"},
        {"add a-bcd --full --daily --at 03:01", "letters and digits"},
        {"add abc --full --daily --at 03:01", "4 to 8"},
        {"remove other", "no such schedule"},
        {"remove", "takes list"},
        {"list all", "takes list"},
    };
    for (const auto &[words, problem] : refused) {
        const End end = talo(words);
        QVERIFY2(end.code == 2 && end.out.isEmpty() && end.problem.contains(problem),
                 qPrintable(words + ": " + end.problem));
    }
    QCOMPARE(talo("remove NIGHT").code, 0);
    QCOMPARE(talo("next").out, "Sunday  quick scan  2026-11-22 14:05\n");
}

void ScheduleTest::refuseAClockThatIsNone()
{
    Program service;
    service.start(built("bin/talod"), {"--bus", bus_->address(), "--state",
                                       folder_->filePath("state"), "--schedule-clock", "noon"});
    QVERIFY(service.waitForFinished());
    QCOMPARE(service.exitCode(), 2);
    QVERIFY(service.readAllStandardError().contains("--schedule-clock"));
}

QTEST_GUILESS_MAIN(ScheduleTest)
#include "scheduletest.moc"
