// Updates of the signatures beside all else: restarts, running scans, the terminal.
#include "engine/processchecks.h"
#include "engine/service/manyfiles.h"
#include "engine/service/updateruns.h"
#include "engine/updates.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <csignal>

using namespace talo::interface;

namespace
{

constexpr qint64 kHour = 3600;

} // namespace

class UpdateLifeTest : public UpdateRuns
{
    Q_OBJECT

private slots:
    void honoursTheCoolDownOverARestart();
    void updatesByItself();
    void letsRunningScansKeepTheirSet();
    void fallsBackToThePreviousSet();
    void needsASource_data();
    void needsASource();
    void leavesNothingWhenItIsKilled();
    void isDoneFromTheTerminal();
};

void UpdateLifeTest::honoursTheCoolDownOverARestart()
{
    QVERIFY(bench_->publish("Talo.Test.New"));
    bench_->serve("cooldown");
    QCOMPARE(update(), 8);
    const qint64 until = bench_->state().value("signaturesNotBefore").toLongLong();
    QVERIFY(qAbs(until - QDateTime::currentSecsSinceEpoch() - kHour) < 60);
    QVERIFY(bench_->state().value("signaturesDetail").toString().contains("left alone until"));
    bench_->endService();
    bench_->serve("normal");
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->state().value("signaturesNotBefore").toLongLong(), until);
    QVERIFY(bench_->state().value("signaturesNext").toLongLong() >= until);
    // Nor when somebody asks for it.
    const int answers = bench_->served().size();
    QCOMPARE(update(), 8);
    QCOMPARE(bench_->served().size(), answers);
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
}

void UpdateLifeTest::updatesByItself()
{
    QVERIFY(bench_->publish("Talo.Test.New"));
    bench_->endService();
    // As if the last one had been long ago.
    QVERIFY(QFile::remove(bench_->path("state/taloantivirus.db")));
    QFile::remove(bench_->path("state/taloantivirus.db-wal"));
    QFile::remove(bench_->path("state/taloantivirus.db-shm"));
    QVERIFY(bench_->configure({"Timeout = 2"}));
    QFile file(bench_->path("conf"));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QByteArray text = file.readAll();
    text.replace("StartDelay = 86400", "StartDelay = 0");
    QVERIFY(file.resize(0) && file.seek(0) && file.write(text) > 0);
    file.close();
    QVERIFY(bench_->startService());
    QTRY_COMPARE_WITH_TIMEOUT(bench_->state().value("signaturesStatus").toInt(), 2, 15000);
    QCOMPARE(bench_->detected(), QString("Talo.Test.New"));
    const qint64 next = bench_->state().value("signaturesNext").toLongLong();
    QVERIFY(next >= QDateTime::currentSecsSinceEpoch() + 6 * kHour - 60);

    // Not where the setting says no; the next is due again once it says yes.
    const auto automatic = [this](int on) {
        ask(bench_->caller(), kSettings, "Apply",
            {"Update", QVariant::fromValue(SettingMap{{"Automatic", on}})});
        ask(bench_->caller(), kSettings, "NotifyChange");
        return bench_->state().value("signaturesNext").toLongLong();
    };
    QCOMPARE(automatic(0), 0LL);
    QVERIFY(automatic(1) > 0);
}

void UpdateLifeTest::letsRunningScansKeepTheirSet()
{
    writeManyFiles(bench_->path("many"));
    const QDBusReply<uint> job =
        ask(bench_->caller(), kScan, "Start", {2u, QFile::encodeName(bench_->path("many"))});
    ask(bench_->caller(), kScan, "Pause", {job.value()});
    const auto progress = [&](uint number) {
        return QDBusReply<ScanProgress>(ask(bench_->caller(), kScan, "Progress", {number, 0u}))
            .value();
    };
    QTRY_COMPARE_WITH_TIMEOUT(progress(job.value()).state, uint(Paused), kSoon);
    QVERIFY(bench_->publish("Talo.Test.New", 5));
    QCOMPARE(update(), 2);
    QVERIFY(bench_->publish("Talo.Test.Newer", 6));
    QCOMPARE(update(), 2);
    QCOMPARE(bench_->detected(), QString("Talo.Test.Newer"));
    ask(bench_->caller(), kScan, "Resume", {job.value()});
    QTRY_COMPARE_WITH_TIMEOUT(progress(job.value()).state, uint(Finished), 60000);
    QCOMPARE(progress(job.value()).errors, 0u);
    const QString key = progress(job.value()).report;
    const QDBusMessage report = ask(bench_->caller(), kReports, "Read", {key});
    bool first = false;
    for (const QVariant &part : report.arguments())
        first = first || part.toString().contains("updated, 1 signature,");
    QVERIFY(first);
    QVERIFY(QDir(bench_->path("many")).removeRecursively());
}

void UpdateLifeTest::fallsBackToThePreviousSet()
{
    QVERIFY(bench_->publish("Talo.Test.New"));
    QCOMPARE(update(), 2);
    bench_->endService();
    const QString current = bench_->path("state/signatures/current");
    // As a failing disk would leave it.
    QFile bad(current + "/test.ndb");
    QVERIFY(bad.open(QIODevice::WriteOnly) && bad.write("<html>\n") > 0);
    bad.close();
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
    bench_->endService();

    QVERIFY(bench_->startService());
    QCOMPARE(update(), 2);
    bench_->endService();
    QVERIFY(QDir(QFileInfo(current).canonicalFilePath()).removeRecursively());
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
}

void UpdateLifeTest::needsASource_data()
{
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<QString>("says");
    QTest::newRow("none") << QByteArray("[Update]\nOfficial = no\n")
                          << "no update source is configured";
    QTest::newRow("bad") << QByteArray("[Update]\nDatabase = file:///etc/passwd\n") << "Database";
    QTest::newRow("no program") << QByteArray("[Update]\nFreshclam = /no/such/program\n")
                                << "install the package clamav-freshclam";
}

void UpdateLifeTest::needsASource()
{
    QFETCH(QByteArray, configuration);
    QFETCH(QString, says);
    QFile file(bench_->path("conf"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(configuration) > 0);
    file.close();
    int handle = 77;
    QCOMPARE(initiate_sig_update(&handle), 2);
    QCOMPARE(handle, 0);
    const QString source = bench_->state().value("signaturesSource").toString();
    QVERIFY2(source.contains(says), qPrintable(source));
}

void UpdateLifeTest::leavesNothingWhenItIsKilled()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("stall");
    int handle = 0;
    lastStatus = -1;
    QCOMPARE(initiate_sig_update(&handle), 0);
    std::thread worker([&] { start_sig_update(handle); });
    QTRY_COMPARE_WITH_TIMEOUT(lastStatus.load(), 1, kSoon);
    bench_->killService();
    worker.join();
    QVERIFY(!bench_->leftovers().isEmpty());
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->leftovers(), QStringList());
}

void UpdateLifeTest::isDoneFromTheTerminal()
{
    const auto talo = [](const QStringList &words, QByteArray &said) {
        Program program;
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(built("bin/talo"), QStringList{"update"} + words);
        program.waitForFinished();
        said = program.readAll();
        return program.exitCode();
    };
    QByteArray said;
    QCOMPARE(talo({"signatures"}, said), 0);
    QCOMPARE(said, QByteArray("The signatures are the latest already.\n"));
    QVERIFY(bench_->publish("Talo.Test.New"));
    QCOMPARE(talo({"signatures"}, said), 0);
    QCOMPARE(said, QByteArray("The signatures were updated.\n"));
    bench_->serve("garbage");
    QVERIFY(bench_->publish("Talo.Test.Newer"));
    QCOMPARE(talo({"signatures"}, said), 2);
    QVERIFY2(said.startsWith("The update failed: the new signatures are of no use"), said);
    QCOMPARE(talo({"signatures", "--check"}, said), 0);
    QVERIFY2(said.contains("Outcome:     the new signatures are of no use"), said);
    QCOMPARE(talo({"nonsense"}, said), 2);
    QCOMPARE(talo({"signatures", "--now"}, said), 2);

    // Ctrl+C stops the run, and the program tells so.
    bench_->serve("stall");
    QVERIFY(bench_->publish("Talo.Test.Newest", 20000));
    Program program;
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(built("bin/talo"), {"update", "signatures"});
    QTRY_COMPARE_WITH_TIMEOUT(IsProductUpdateRunning("TaloAntivirus_S"), 0, kSoon);
    const uint handle = bench_->state().value("signaturesHandle").toUInt();
    const auto progress = [&] {
        return QDBusReply<UpdateProgress>(
                   ask(bench_->caller(), kUpdates, "SignatureUpdateProgress", {handle}))
            .value();
    };
    QTRY_COMPARE_WITH_TIMEOUT(progress().status, uint(UpdateDownloading), kSoon);
    QCOMPARE(kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitCode(), 2);
    QVERIFY(program.readAll().contains("The update was stopped"));

    bench_->endService();
    QCOMPARE(talo({"signatures"}, said), 2);
    QVERIFY2(said.contains("Start talod"), said);
}

QTEST_GUILESS_MAIN(UpdateLifeTest)
#include "updatelifetest.moc"
