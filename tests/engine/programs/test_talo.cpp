// The command line as a whole program.
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/programrun.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "taloversion.h"

#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::tests;

class TestTalo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void wrongUsage_data();
    void wrongUsage();
    void helpAndVersion();
    void status();
    void scansEveryPath();
    void scansByKind();
    void aFailureWeighsMoreThanAThreat();
    void reports();
    void reportsInARange();
    void quarantine();
    void everythingFailsWithoutABus_data();
    void everythingFailsWithoutABus();
    void duplicatesNeedNoService();
    void fullOutputIsAFailure();

private:
    ProgramEnd talo(const QStringList &arguments) const
    {
        return runProgram(QStringLiteral("talo"), arguments, bus_->address());
    }

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
};

void TestTalo::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
}

void TestTalo::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
}

void TestTalo::cleanup()
{
    service_.reset();
}

void TestTalo::wrongUsage_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line : {"",
                             "nothing",
                             "status now",
                             "scan",
                             "scan --slow",
                             "scan --full /tmp",
                             "scan --",
                             "report",
                             "report show",
                             "report delete",
                             "report frobnicate x",
                             "report list --from",
                             "report list --from yesterday",
                             "report list --from 2026-02-30",
                             "report list --since 2026-02-03",
                             "quarantine",
                             "quarantine list all",
                             "quarantine restore",
                             "quarantine purge a b",
                             "duplicates",
                             "duplicates a b"})
        QTest::newRow(line) << line;
}

void TestTalo::wrongUsage()
{
    QFETCH(QString, line);
    const ProgramEnd end = talo(line.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QCOMPARE(end.code, 2);
    QVERIFY(end.out.isEmpty());
    QVERIFY2(end.err.contains("\"talo help\" tells how talo is used."), end.err.constData());
    QVERIFY(service_->calls().isEmpty());
}

void TestTalo::helpAndVersion()
{
    QCOMPARE(talo({QStringLiteral("help")}).code, 0);
    QVERIFY(talo({QStringLiteral("help")}).out.startsWith("Usage: talo COMMAND\n"));
    QCOMPARE(talo({QStringLiteral("--version")}).out, QByteArray("talo " TALO_VERSION "\n"));
    QVERIFY(service_->calls().isEmpty());
}

void TestTalo::status()
{
    const ProgramEnd end = talo({QStringLiteral("status")});
    QCOMPARE(end.code, 0);
    QVERIFY(end.out.contains("version 9.9 on the bus named by TALO_BUS, as user 0\n"));
    QVERIFY(end.out.contains("Quick Scan\n"));
    QVERIFY(end.out.contains("updated set, version 27123, less than a day old, 2,036,512 "
                             "signatures\n"));
    QVERIFY(end.out.contains("/var/lib/signatures\n"));
    for (const char *caption : {"\nFirewall:", "\nUSB storage:", "\nDrives:"})
        QVERIFY2(end.out.contains(caption), caption);
}

void TestTalo::scansEveryPath()
{
    service_->setProgress(progressIn(interface::Finished));
    const ProgramEnd end = talo(
        {QStringLiteral("scan"), QStringLiteral("/a"), QStringLiteral("--"), QStringLiteral("-b")});
    QCOMPARE(end.code, 0);
    QCOMPARE(service_->callsOf(QStringLiteral("Start")), 2);
    QCOMPARE(service_->startedPath(), QDir::currentPath().toUtf8() + "/-b");
    QCOMPARE(service_->startedKind(), uint{interface::CustomScan});
    QCOMPARE(end.out.count("No threats found."), 2);
}

void TestTalo::scansByKind()
{
    service_->setProgress(progressIn(interface::Finished));
    QCOMPARE(talo({QStringLiteral("scan"), QStringLiteral("--full")}).code, 0);
    QCOMPARE(service_->startedKind(), uint{interface::FullScan});
    QCOMPARE(talo({QStringLiteral("scan"), QStringLiteral("--quick")}).code, 0);
    QCOMPARE(service_->startedKind(), uint{interface::QuickScan});
    QCOMPARE(service_->startedPath(), QByteArray("/"));
}

void TestTalo::aFailureWeighsMoreThanAThreat()
{
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(manyThreats(1));
    QCOMPARE(talo({QStringLiteral("scan"), QStringLiteral("/a")}).code, 1);
    service_->refuse(QStringLiteral("Start"), QString::fromLatin1(interface::kErrorNotFound),
                     QStringLiteral("gone"));
    const ProgramEnd end = talo({QStringLiteral("scan"), QStringLiteral("/a")});
    QCOMPARE(end.code, 2);
    QVERIFY(end.err.startsWith("Custom Scan of /a: There is no such file or folder"));
}

void TestTalo::reports()
{
    const QString key = QStringLiteral("2026-11-21 14:05:09");
    const QString other = QStringLiteral("2026-11-21 14:05:10");
    QCOMPARE(talo({QStringLiteral("report"), QStringLiteral("list")}).out,
             QByteArray("No reports.\n"));
    service_->setReports({{key, QStringLiteral("Custom Scan")}},
                         QStringLiteral("First line\n\x1b[2J\n"));
    QCOMPARE(talo({QStringLiteral("report"), QStringLiteral("list")}).out,
             QByteArray("2026-11-21 14:05:09  Custom Scan\n"));
    const QByteArray shown = "First line\n\\u{1b}[2J\n";
    QCOMPARE(talo({QStringLiteral("report"), QStringLiteral("show"), key}).out, shown);
    // Without quotes, as two words.
    QStringList words{QStringLiteral("report"), QStringLiteral("show")};
    QCOMPARE(talo(words + key.split(QLatin1Char(' '))).out, shown);
    QCOMPARE(talo({QStringLiteral("report"), QStringLiteral("delete"), key}).code, 0);
    for (const char *verb : {"show", "delete"}) {
        const ProgramEnd end = talo({QStringLiteral("report"), QString::fromLatin1(verb), other});
        QCOMPARE(end.code, 2);
        QVERIFY(end.err.startsWith("There is no such report."));
    }
}

void TestTalo::reportsInARange()
{
    talo({QStringLiteral("report"), QStringLiteral("list"), QStringLiteral("--from"),
          QStringLiteral("2026-07-03"), QStringLiteral("--to"), QStringLiteral("2026-11-21")});
    QCOMPARE(service_->listedRange(),
             (QStringList{QStringLiteral("2026:7:3"), QStringLiteral("2026:11:21")}));
}

void TestTalo::quarantine()
{
    QCOMPARE(talo({QStringLiteral("quarantine"), QStringLiteral("list")}).out,
             QByteArray("The quarantine is empty.\n"));
    service_->setQuarantine({{QStringLiteral("3f2a"), 1795269909, QStringLiteral("/tmp/x"),
                              QStringLiteral("Test.File"), 544}});
    const ProgramEnd list = talo({QStringLiteral("quarantine"), QStringLiteral("list")});
    QVERIFY(list.out.startsWith("3f2a  2026-11-21 "));
    QVERIFY(list.out.endsWith("  544 bytes  Test.File  /tmp/x\n"));
    QCOMPARE(talo({QStringLiteral("quarantine"), QStringLiteral("restore"), QStringLiteral("3f2a")})
                 .code,
             0);
    QCOMPARE(service_->callsOf(QStringLiteral("Restore")), 1);
    service_->refuse(QStringLiteral("Purge"), QString::fromLatin1(interface::kErrorNotPermitted),
                     QStringLiteral("not yours"));
    const ProgramEnd purge =
        talo({QStringLiteral("quarantine"), QStringLiteral("purge"), QStringLiteral("3f2a")});
    QCOMPARE(purge.code, 2);
    QVERIFY(purge.err.contains("refused: not yours"));
}

void TestTalo::everythingFailsWithoutABus_data()
{
    QTest::addColumn<QString>("line");
    for (const char *line : {"status", "scan /tmp", "report list", "report show x",
                             "report delete x", "quarantine list", "quarantine purge x"})
        QTest::newRow(line) << line;
}

void TestTalo::everythingFailsWithoutABus()
{
    QFETCH(QString, line);
    const ProgramEnd end = runProgram(QStringLiteral("talo"), line.split(QLatin1Char(' ')),
                                      QStringLiteral("unix:path=/nonexistent/bus"));
    QCOMPARE(end.code, 2);
    QVERIFY(end.err.contains("There is no message bus"));
}

void TestTalo::duplicatesNeedNoService()
{
    const QTemporaryDir folder;
    for (const char *name : {"a", "b"}) {
        QFile file(folder.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write("same"), 4);
    }
    const ProgramEnd end = talo({QStringLiteral("duplicates"), folder.path()});
    QCOMPARE(end.code, 0);
    const QByteArray path = QFile::encodeName(folder.path());
    QCOMPARE(end.out, QByteArray("0001  a  2 copies of 4 bytes\n    " + path + "/a\n    " + path +
                                 "/b\n1 duplicate file, 4 bytes to be freed\n"));
    QCOMPARE(talo({QStringLiteral("duplicates"), folder.filePath(QStringLiteral("none"))}).code, 2);
    QVERIFY(service_->calls().isEmpty());
}

void TestTalo::fullOutputIsAFailure()
{
    QProcess process;
    process.setProcessEnvironment(withoutDisplay(bus_->address()));
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(builtProgram(QStringLiteral("talo")), {QStringLiteral("status")});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 2);
}

QTEST_GUILESS_MAIN(TestTalo)
#include "test_talo.moc"
