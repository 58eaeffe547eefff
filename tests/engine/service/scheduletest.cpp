// Schedules of a real service: kept as they were saved, carried in a settings file, and managed in
// the terminal.
#include "engine/libimportexportsetting.h"
#include "engine/libschedulescan.h"
#include "engine/service/schedulebench.h"

#include <QFile>
#include <QTest>

using namespace talo::interface;

class ScheduleTest : public ScheduleBench
{
    Q_OBJECT

private slots:
    void areKeptAsThePanelSavesThem();
    void travelInASettingsFile();
    void areManagedInTheTerminal();
    void refuseAClockThatIsNone();
};

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
