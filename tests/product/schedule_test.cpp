// A scheduled scan of the installed product: a person enters it in the panel, and it runs when it
// is due, once, however often the service is killed around that time.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user. The scans are
// quick ones. They go through the folders where anybody may write, so those are the test's own too.

#include "engine/programs/agent/fakedesktop.h"
#include "interface/busconnection.h"
#include "interface/names.h"
#include "product/desktop.h"
#include "product/installation.h"
#include "support/soon.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimeEdit>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>

using namespace talo::test;
using talo::tests::FakeDesktop;

namespace
{

const QString kScan = "Scheduled Quick Scan";
const QDate kFirstDay(2026, 11, 23);

QTableWidget *table()
{
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        for (QTableWidget *candidate : window->findChildren<QTableWidget *>()) {
            if (candidate->isVisible())
                return candidate;
        }
    }
    return nullptr;
}

// The rows of the list that is shown: "night|Quick Scan|Daily at 02:00", from a column on.
QStringList listed(const Desktop &desktop, int from)
{
    desktop.await("a list", [] { return table() != nullptr; });
    return desktop.see<QStringList>([from] {
        QStringList rows;
        for (int row = 0; row < table()->rowCount(); ++row) {
            QStringList cells;
            for (int column = from; column < table()->columnCount(); ++column)
                cells << table()->item(row, column)->text();
            rows << cells.join('|');
        }
        return rows;
    });
}

QString talo(const QStringList &arguments)
{
    return run(QString(kPrefix) + "/bin/talo", arguments);
}

int reports()
{
    return talo({"report", "list"}).count(kScan);
}

bool scanning()
{
    return talo({"status"}).contains(QRegularExpression("Scans: +Quick Scan"));
}

// The process of the service that answers now.
pid_t serviceProcess()
{
    const QDBusConnection bus =
        talo::interface::connectToBus(qEnvironmentVariable("TALO_BUS"), "watch");
    return static_cast<pid_t>(bus.interface()->servicePid(talo::interface::kService).value());
}

// As by a power cut: it can finish nothing.
void killService()
{
    const pid_t process = serviceProcess();
    if (process <= 1 || kill(process, SIGKILL) != 0)
        throw Failure("cannot kill the service");
    if (!QTest::qWaitFor([] { return serviceProcess() == 0; }, 10000))
        throw Failure("the service does not die");
}

// Where everybody may write, other tests do too.
bool makeOwnTemporaryFolders()
{
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    for (const char *folder : {"/tmp", "/var/tmp", "/dev/shm"})
        if (mount("talo-test", folder, "tmpfs", 0, "mode=1777") != 0)
            return false;
    // The X server wants it, and must not make it itself.
    return mkdir("/tmp/.X11-unix", 0777) == 0 && chmod("/tmp/.X11-unix", 01777) == 0;
}

} // namespace

// The steps build on one another, a day of the schedule's clock after the other.
class ProductScheduleTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void isEnteredInThePanel();
    void runsWhenDueAndIsReported();
    void runsNotAgainAfterARestart();
    void runsOnceThoughKilledInTheMidst();
    void isMadeUpForOnce();
    void isListedInThePanel();
    void isChangedAndRemovedInThePanel();
    void cleanupTestCase();

private:
    // (Re)starts the service; its schedules' clock begins at this time and goes so much faster.
    void startAt(int day, const QTime &time, int rate);

    QTemporaryDir home_;
    std::unique_ptr<Engine> engine_;
    bool failed_ = false;
};

void ProductScheduleTest::startAt(int day, const QTime &time, int rate)
{
    const qint64 moment = QDateTime(kFirstDay.addDays(day), time).toSecsSinceEpoch();
    engine_->start(home_.filePath("state"),
                   {"--schedule-clock", QString("%1*%2").arg(moment).arg(rate), "--power-supplies",
                    home_.filePath("no-battery")});
}

void ProductScheduleTest::initTestCase()
{
    QVERIFY(home_.isValid());
    engine_ = std::make_unique<Engine>(home_.path());
    write(home_.filePath("Downloads/eicar.com"), eicar());
}

void ProductScheduleTest::init()
{
    if (failed_)
        QSKIP("a step before this one failed");
}

void ProductScheduleTest::cleanup()
{
    failed_ = failed_ || QTest::currentTestFailed();
}

void ProductScheduleTest::cleanupTestCase()
{
    engine_.reset();
}

void ProductScheduleTest::isEnteredInThePanel()
{
    startAt(0, QTime(1, 0), 1);
    SUCCEEDS(play([](const Desktop &desktop) {
        desktop.click("btnScan");
        desktop.click("btnScheduleScanBottom");
        expect(listed(desktop, 0).join(", "), "");
        desktop.clickText("ADD");
        desktop.type("Scan Name", "a b");
        desktop.clickText("SAVE");
        expect(desktop.answerMessage(),
               "Schedule name should not contain a special characters and spaces");
        desktop.type("Scan Name", "nightly");
        desktop.press("Tab"); // the type,
        desktop.press("Tab"); // the frequency; the weekday is disabled
        desktop.press("Tab");
        for (const char *key : {"0", "2", "0", "0"})
            desktop.press(key);
        const auto time = [] {
            for (const QWidget *window : QApplication::topLevelWidgets()) {
                for (const QTimeEdit *edit : window->findChildren<QTimeEdit *>()) {
                    if (edit->isVisible())
                        return edit->text();
                }
            }
            return QString();
        };
        desktop.await("the time that was typed", [&] { return time() == "02:00"; });
        desktop.screenshot("schedule-editor");
        desktop.clickText("SAVE");
        expect(desktop.answerMessage(), "ScheduleScan configuration [ nightly ] added.");
        expect(listed(desktop, 0).join(", "), "nightly|Quick Scan|Daily at 02:00");
        desktop.screenshot("schedule-list");
    }));
    killService(); // what was confirmed is stored
    QCOMPARE(reports(), 0);
}

// Without a window it is told of through the desktop.
void ProductScheduleTest::runsWhenDueAndIsReported()
{
    const QString bus = qEnvironmentVariable("TALO_BUS");
    const FakeDesktop desktop(bus, {"actions", "body", "body-markup"});
    startAt(0, QTime(1, 59, 30), 1);
    qputenv("DBUS_SESSION_BUS_ADDRESS", bus.toLocal8Bit());
    const Running agent(QString(kPrefix) + "/bin/talo-agent", {});
    QTRY_VERIFY_WITH_TIMEOUT(talo::interface::connectToBus(bus, "watch")
                                 .interface()
                                 ->isServiceRegistered("org.taloantivirus.Agent1"),
                             kSoon);
    QCOMPARE(reports(), 0);
    QVERIFY(!scanning());

    startAt(0, QTime(1, 59), 60);
    QTRY_COMPARE_WITH_TIMEOUT(reports(), 1, 60000);
    QVERIFY(!QFile::exists(home_.filePath("Downloads/eicar.com")));
    const auto told = [&desktop] {
        QStringList summaries;
        for (const talo::tests::Notification &shown : desktop.notifications())
            if (!shown.summary.contains("signatures"))
                summaries << shown.summary;
        return summaries;
    };
    QTRY_COMPARE_WITH_TIMEOUT(told(), QStringList({"Threat found", kScan + " finished"}), kSoon);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void ProductScheduleTest::runsNotAgainAfterARestart()
{
    killService();
    startAt(0, QTime(2, 0, 1), 600);
    // Hours of the schedule's clock, long past the time for making up.
    QElapsedTimer passing;
    passing.start();
    while (passing.elapsed() < 5000)
        QVERIFY(!scanning());
    QCOMPARE(reports(), 1);
}

void ProductScheduleTest::runsOnceThoughKilledInTheMidst()
{
    // Large enough to be met in the midst.
    int code = 0;
    run("sh",
        {"-c", "i=0; while [ $i -lt 3000 ]; do echo $i >\"$1/many-$i\"; i=$((i + 1)); done", "sh",
         home_.filePath("Downloads")},
        &code);
    QCOMPARE(code, 0);
    startAt(1, QTime(1, 59, 50), 10);
    QTRY_VERIFY_WITH_TIMEOUT(scanning(), 30000);
    killService();
    startAt(1, QTime(2, 0, 5), 600);
    // What the kill left behind counts as the run.
    QTRY_COMPARE_WITH_TIMEOUT(reports(), 2, kSoon);
    QElapsedTimer passing;
    passing.start();
    while (passing.elapsed() < 5000)
        QVERIFY(!scanning());
    QCOMPARE(reports(), 2);
}

void ProductScheduleTest::isMadeUpForOnce()
{
    killService(); // and the machine is off for two of its times
    startAt(3, QTime(9, 0), 60);
    QTRY_COMPARE_WITH_TIMEOUT(reports(), 3, 60000);
    QTRY_VERIFY_WITH_TIMEOUT(!scanning(), kSoon);
    QElapsedTimer passing;
    passing.start();
    while (passing.elapsed() < 5000)
        QVERIFY(!scanning());
    QCOMPARE(reports(), 3);
}

void ProductScheduleTest::isListedInThePanel()
{
    SUCCEEDS(play([](const Desktop &desktop) {
        desktop.click("btnReport");
        desktop.await("the reports", [] { return table() && table()->rowCount() == 3; });
        const QString row = kScan + "|View";
        expect(listed(desktop, 1).join(", "), QStringList{row, row, row}.join(", "));
        desktop.screenshot("schedule-reports");
    }));
}

void ProductScheduleTest::isChangedAndRemovedInThePanel()
{
    SUCCEEDS(play([](const Desktop &desktop) {
        desktop.click("btnScan");
        desktop.click("btnScheduleScanBottom");
        desktop.await("the schedule", [] { return table() && table()->rowCount() == 1; });
        const auto choose = [&desktop] {
            desktop.clickItem(
                desktop.see<QModelIndex>([] { return table()->model()->index(0, 1); }), table());
            desktop.await("the row", [] { return table()->currentRow() == 0; });
        };
        choose();
        desktop.clickText("EDIT");
        desktop.pick("Scan Type", "Full Scan");
        desktop.pick("Scan Frequency", "Weekly Scan");
        desktop.pick("Weekdays", "Wednesday");
        desktop.clickText("SAVE");
        expect(desktop.answerMessage(), "ScheduleScan configuration [ nightly ] edited.");
        expect(listed(desktop, 0).join(", "), "nightly|Full Scan|Every Wednesday at 02:00");
        choose();
        desktop.clickText("REMOVE");
        expect(desktop.answerMessage(), "ScheduleScan configuration [ nightly ] removed.");
        desktop.await("an empty list", [] { return table()->rowCount() == 0; });
    }));
}

int main(int argc, char **argv)
{
    if (geteuid() == 0 && !makeOwnTemporaryFolders()) {
        std::printf("SKIP   : needs temporary folders of its own\n");
        return 77;
    }
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductScheduleTest>(); });
}

#include "schedule_test.moc"
