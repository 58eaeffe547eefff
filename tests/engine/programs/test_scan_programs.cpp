// FullScan, QuickScan and CustomScan as whole programs, in a terminal and on a pipe.
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/programrun.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "support/soon.h"

#include <QProcess>
#include <QtTest>

#include <csignal>
#include <memory>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace talo;
using namespace talo::tests;

class TestScanPrograms : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void wrongUsage_data();
    void wrongUsage();
    void namesTellTheKind_data();
    void namesTellTheKind();
    void passesThePathUnchanged();
    void cleanScan();
    void scanWithThreats();
    void failedScan();
    void noBus();
    void refusedStart();
    void serviceThatDies();
    void stopsOnASignal_data();
    void stopsOnASignal();
    void secondSignalDoesNotWait();
    void brokenPipe();
    void progressOnATerminal();
    void brokenDisplayFallsBackToTheTerminal();

private:
    ProgramEnd run(const QString &name, const QStringList &arguments) const;

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
};

void TestScanPrograms::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    QVERIFY2(QFile::exists(builtProgram(QStringLiteral("FullScan"))), "FullScan is not built");
}

void TestScanPrograms::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
}

void TestScanPrograms::cleanup()
{
    service_.reset();
}

ProgramEnd TestScanPrograms::run(const QString &name, const QStringList &arguments) const
{
    return runProgram(name, arguments, bus_->address());
}

void TestScanPrograms::wrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no path") << QStringList{};
    QTest::newRow("unknown kind") << QStringList{"/tmp", "9"};
    QTest::newRow("too many") << QStringList{"/tmp", "2", "x"};
}

void TestScanPrograms::wrongUsage()
{
    QFETCH(QStringList, arguments);
    const ProgramEnd end = run(QStringLiteral("CustomScan"), arguments);
    QCOMPARE(end.code, 2);
    QVERIFY(end.out.isEmpty());
    QVERIFY(end.err.contains("Usage: "));
    QVERIFY(service_->calls().isEmpty());
}

void TestScanPrograms::namesTellTheKind_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<uint>("kind");
    QTest::newRow("full") << "FullScan" << QStringList{"/", "1"} << 1U;
    QTest::newRow("quick") << "QuickScan" << QStringList{"/", "3"} << 3U;
    QTest::newRow("custom") << "CustomScan" << QStringList{"/tmp", "2"} << 2U;
    QTest::newRow("full by name") << "FullScan" << QStringList{} << 1U;
    QTest::newRow("quick by name") << "QuickScan" << QStringList{} << 3U;
    QTest::newRow("custom by name") << "CustomScan" << QStringList{"/tmp"} << 2U;
}

void TestScanPrograms::namesTellTheKind()
{
    QFETCH(QString, name);
    QFETCH(QStringList, arguments);
    service_->setProgress(progressIn(interface::Finished));
    QCOMPARE(run(name, arguments).code, 0);
    QTEST(service_->startedKind(), "kind");
    QCOMPARE(service_->startedPath(), arguments.value(0, QStringLiteral("/")).toUtf8());
}

void TestScanPrograms::passesThePathUnchanged()
{
    service_->setProgress(progressIn(interface::Finished));
    // QProcess takes no bytes, a shell does.
    QProcess shell;
    shell.setProcessEnvironment(withoutDisplay(bus_->address()));
    shell.setWorkingDirectory(QStringLiteral("/usr"));
    shell.start(QStringLiteral("bash"),
                {QStringLiteral("-c"), QStringLiteral("exec \"$0\" $'a\\xff\\n#,b' 2"),
                 builtProgram(QStringLiteral("CustomScan"))});
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.exitCode(), 0);
    QCOMPARE(service_->startedPath(), QByteArray("/usr/a\xff\n#,b"));
}

void TestScanPrograms::cleanScan()
{
    service_->setProgress(progressIn(interface::Finished));
    const ProgramEnd end = run(QStringLiteral("CustomScan"), {QStringLiteral("/tmp")});
    QCOMPARE(end.code, 0);
    QVERIFY(end.err.isEmpty());
    QVERIFY(!end.out.contains('\r')); // no progress where nobody watches
    QVERIFY(end.out.startsWith("Custom Scan of /tmp finished after 3 min 20 s.\n"));
    QVERIFY(end.out.contains("  Scanned:      12,345 files\n  Data done:    1.4 GB\n"));
    QVERIFY(end.out.contains("updated set, version 27123, less than a day old"));
    QVERIFY(end.out.contains("talo report show \"2026-11-21 14:05:09\"\n"));
    QVERIFY(end.out.contains("5 files were not scanned: 3 skipped, 2 with errors.\n"));
    QVERIFY(end.out.endsWith("No threats found.\n"));
}

void TestScanPrograms::scanWithThreats()
{
    QList<interface::ThreatFound> threats = manyThreats(150);
    threats[0].path = QStringLiteral("/tmp/\x1b[31mred\u202e");
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(threats);
    const ProgramEnd end = run(QStringLiteral("QuickScan"), {});
    QCOMPARE(end.code, 1);
    QCOMPARE(end.out.count("THREAT  "), 150);
    QVERIFY(end.out.contains("THREAT  /tmp/threat-149: Test.File.149 (infected), "
                             "deleted, kept in quarantine\n"));
    QVERIFY(!end.out.contains('\x1b'));
    QVERIFY(end.out.contains("/tmp/\\u{1b}[31mred\\u{202e}"));
    QVERIFY(end.out.endsWith("150 threats found.\n"));
}

void TestScanPrograms::failedScan()
{
    interface::ScanProgress progress = progressIn(interface::Failed);
    progress.failure = QStringLiteral("no signatures");
    service_->setProgress(progress);
    const ProgramEnd end = run(QStringLiteral("FullScan"), {});
    QCOMPARE(end.code, 2);
    QVERIFY(end.out.endsWith("The scan failed: no signatures. No threats found until then.\n"));
}

void TestScanPrograms::noBus()
{
    const ProgramEnd end =
        runProgram(QStringLiteral("FullScan"), {}, QStringLiteral("unix:path=/nonexistent/bus"));
    QCOMPARE(end.code, 2);
    QVERIFY(end.out.isEmpty());
    QVERIFY(end.err.startsWith("Full Scan: There is no message bus"));
}

void TestScanPrograms::refusedStart()
{
    service_->refuse(QStringLiteral("Start"), QString::fromLatin1(interface::kErrorRunning),
                     QStringLiteral("one runs"));
    const ProgramEnd end = run(QStringLiteral("FullScan"), {});
    QCOMPARE(end.code, 2);
    QVERIFY(end.err.startsWith("Full Scan: A full scan is already running."));
}

void TestScanPrograms::serviceThatDies()
{
    QProcess process;
    process.setProcessEnvironment(withoutDisplay(bus_->address()));
    process.start(builtProgram(QStringLiteral("FullScan")), QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")) > 0, kSoon);
    service_->die();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 2);
    QVERIFY(process.readAllStandardError().startsWith("Full Scan: The scan service stopped"));
}

void TestScanPrograms::stopsOnASignal_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void TestScanPrograms::stopsOnASignal()
{
    QFETCH(int, number);
    QProcess process;
    process.setProcessEnvironment(withoutDisplay(bus_->address()));
    process.start(builtProgram(QStringLiteral("FullScan")), QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")) > 0, kSoon);
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), number), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 2);
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 1);
    QVERIFY(process.readAllStandardOutput().contains("The scan was stopped."));
}

void TestScanPrograms::secondSignalDoesNotWait()
{
    service_->setIgnoresStop(true);
    QProcess process;
    process.setProcessEnvironment(withoutDisplay(bus_->address()));
    process.start(builtProgram(QStringLiteral("FullScan")), QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")) > 0, kSoon);
    const auto pid = static_cast<pid_t>(process.processId());
    QCOMPARE(::kill(pid, SIGINT), 0);
    QTRY_COMPARE_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Stop")), 1, kSoon);
    QVERIFY(!process.waitForFinished(300));
    QCOMPARE(::kill(pid, SIGINT), 0);
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 2);
}

void TestScanPrograms::brokenPipe()
{
    service_->setThreats(manyThreats(1));
    QProcess shell;
    shell.setProcessEnvironment(withoutDisplay(bus_->address()));
    shell.start(QStringLiteral("bash"),
                {QStringLiteral("-c"), QStringLiteral("\"$0\" | head -c 1; exit ${PIPESTATUS[0]}"),
                 builtProgram(QStringLiteral("FullScan"))});
    QVERIFY(shell.waitForReadyRead()); // the reader has all it wants
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(manyThreats(200));
    QVERIFY(shell.waitForFinished());
    QCOMPARE(shell.exitCode(), 1);
}

void TestScanPrograms::progressOnATerminal()
{
    service_->setProgress(progressIn(interface::Scanning));
    int terminal = -1;
    winsize size{24, 60, 0, 0};
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, &size);
    QVERIFY(pid >= 0);
    if (pid == 0) {
        qputenv("TALO_BUS", bus_->address().toLatin1());
        qunsetenv("DISPLAY");
        qunsetenv("WAYLAND_DISPLAY");
        const QByteArray program = builtProgram(QStringLiteral("CustomScan")).toLocal8Bit();
        execl(program.constData(), "CustomScan", "/tmp", "2", static_cast<char *>(nullptr));
        _exit(99);
    }
    QByteArray shown;
    char bytes[4096];
    ssize_t count = 0;
    while (shown.count("50%") < 2 && (count = read(terminal, bytes, sizeof bytes)) > 0)
        shown.append(bytes, static_cast<int>(count));
    interface::ScanProgress end = progressIn(interface::Finished);
    service_->setProgress(end);
    service_->setThreats(manyThreats(1));
    // A terminal whose last user has ended reports an error instead of an end.
    while ((count = read(terminal, bytes, sizeof bytes)) > 0)
        shown.append(bytes, static_cast<int>(count));
    ::close(terminal);
    int status = 0;
    QCOMPARE(waitpid(pid, &status, 0), pid);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), 1);

    const QByteArray first = shown.mid(shown.indexOf("\r ") + 1, 59);
    QVERIFY2(first.contains(" 50%  12,345 files  1.4 GB  0 threats"), first.constData());
    for (const QByteArray &line : shown.left(shown.indexOf("THREAT")).split('\r'))
        QVERIFY2(line.size() < 60, line.constData());
    // The threat stands on a line of its own, where the progress was wiped.
    QVERIFY(shown.contains("\rTHREAT  /tmp/threat-0"));
}

void TestScanPrograms::brokenDisplayFallsBackToTheTerminal()
{
    service_->setProgress(progressIn(interface::Finished));
    QProcess process;
    QProcessEnvironment environment = withoutDisplay(bus_->address());
    environment.insert(QStringLiteral("DISPLAY"), QStringLiteral(":64999"));
    environment.insert(QStringLiteral("WAYLAND_DISPLAY"), QStringLiteral("/nonexistent/wayland"));
    process.setProcessEnvironment(environment);
    process.start(builtProgram(QStringLiteral("FullScan")), QStringList());
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(process.readAllStandardOutput().endsWith("No threats found.\n"));
}

QTEST_GUILESS_MAIN(TestScanPrograms)
#include "test_scan_programs.moc"
