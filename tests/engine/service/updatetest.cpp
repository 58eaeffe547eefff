// Updates of the signatures from end to end: the panel's operations, talod, freshclam, a server.
#include "engine/processchecks.h"
#include "engine/service/updatebench.h"
#include "engine/updates.h"
#include "interface/names.h"

#include <QDBusReply>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <atomic>
#include <csignal>
#include <mutex>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace talo::interface;

namespace
{

struct Report {
    long long total;
    long long remaining;
    float percentage;
    int speed;
    int status;
    qint64 when;
    std::thread::id thread;
};

std::mutex mutex;
std::vector<Report> reports;
std::atomic<int> lastStatus{-1};

void note(long long total, long long remaining, float percentage, int speed, int status)
{
    QElapsedTimer clock;
    clock.start();
    const std::lock_guard lock(mutex);
    reports.push_back({total, remaining, percentage, speed, status, clock.msecsSinceReference(),
                       std::this_thread::get_id()});
    lastStatus = status;
}

// A whole run; the final status, or -1 where none was reported.
int update(int *code = nullptr)
{
    {
        const std::lock_guard lock(mutex);
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

} // namespace

class UpdateTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void bringsTheFirstSetAndLaterOnes();
    void endsAs_data();
    void endsAs();
    void keepsWithinAFullDisk_data();
    void keepsWithinAFullDisk();
    void isUnreachableWithoutAServer();
    void isStoppedFromOutside();
    void isStoppedBeforeItStarts();
    void runsOneAtATime();
    void forgetsNoHandleOfARun();
    void reportsInOrder();
    void endsHonestlyWhenTheServiceVanishes();
    void honoursTheCoolDownOverARestart();
    void updatesByItself();
    void letsRunningScansKeepTheirSet();
    void fallsBackToThePreviousSet();
    void needsASource_data();
    void needsASource();
    void leavesNothingWhenItIsKilled();
    void isDoneFromTheTerminal();

private:
    std::unique_ptr<UpdateBench> bench_;
};

void UpdateTest::initTestCase()
{
    bench_ = std::make_unique<UpdateBench>();
    QVERIFY(bench_->ready());
}

// A service with a good set in use.
void UpdateTest::init()
{
    QDir(bench_->path("state")).removeRecursively();
    bench_->serve("normal");
    QVERIFY(bench_->configure({}));
    QVERIFY(bench_->publish("Talo.Test.Old"));
    QVERIFY(bench_->startService());
    QCOMPARE(update(), 2);
}

void UpdateTest::cleanup()
{
    if (bench_->service() != nullptr)
        bench_->endService();
}

void UpdateTest::bringsTheFirstSetAndLaterOnes()
{
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
    QCOMPARE(bench_->status().value("signatureSet").toString(), QString("updated"));
    QCOMPARE(bench_->status().value("signatureCount").toInt(), 1);

    // Nothing new: the server says 304.
    QCOMPARE(update(), 7);
    QCOMPARE(bench_->served().last(), QString("304"));
    QCOMPARE(bench_->state().value("signaturesStatus").toInt(), 7);

    QVERIFY(bench_->publish("Talo.Test.New", 3));
    QCOMPARE(update(), 2);
    QCOMPARE(bench_->detected(), QString("Talo.Test.New"));
    QCOMPARE(bench_->status().value("signatureCount").toInt(), 4);
    const QVariantMap state = bench_->state();
    QCOMPARE(state.value("signaturesStatus").toInt(), 2);
    QCOMPARE(state.value("signaturesRunning").toBool(), false);
    const qint64 now = QDateTime::currentSecsSinceEpoch();
    QVERIFY(qAbs(state.value("signaturesSucceeded").toLongLong() - now) < 60);
    QVERIFY(state.value("signaturesNext").toLongLong() > now);
    QCOMPARE(bench_->leftovers(), QStringList());

    char version[SignatureVersionSize] = {};
    char date[UpdateDateSize] = {};
    char time[UpdateTimeSize] = {};
    GetSigantureUpdateInfo(version, date, time);
    QVERIFY(version[0] != '\0');
    const auto told = QDateTime::fromString(QString(date) + ' ' + time, "yyyy-MM-dd HH:mm");
    QVERIFY2(qAbs(told.secsTo(QDateTime::currentDateTime())) < 180, time);

    // Over a restart.
    bench_->endService();
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->detected(), QString("Talo.Test.New"));
    QCOMPARE(bench_->state().value("signaturesStatus").toInt(), 2);
}

void UpdateTest::endsAs_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("says");
    QTest::newRow("cut") << "cut" << 8 << "partial file";
    QTest::newRow("stalled") << "stall" << 8 << "Timeout";
    QTest::newRow("cut without a length") << "unended" << 4 << "cut off";
    QTest::newRow("wrong content") << "garbage" << 4 << "of no use";
    QTest::newRow("missing") << "missing" << 4 << "does not have";
    QTest::newRow("broken server") << "broken" << 8 << "cannot be reached";
    QTest::newRow("forbidden") << "forbidden" << 8 << "left alone until";
    QTest::newRow("slow") << "slow" << 2 << "updated";
}

void UpdateTest::endsAs()
{
    QFETCH(QString, mode);
    QFETCH(int, status);
    QFETCH(QString, says);
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve(mode);
    int code = -1;
    QCOMPARE(update(&code), status);
    QCOMPARE(code, 0); // a final status was reported
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 1);
    const QVariantMap state = bench_->state();
    QCOMPARE(state.value("signaturesStatus").toInt(), status);
    const QString detail = state.value("signaturesDetail").toString();
    QVERIFY2(detail.contains(says), qPrintable(detail));
    QCOMPARE(bench_->detected(), QString(status == 2 ? "Talo.Test.New" : "Talo.Test.Old"));
    QCOMPARE(bench_->leftovers(), QStringList());
}

void UpdateTest::keepsWithinAFullDisk_data()
{
    QTest::addColumn<QString>("full");
    QTest::newRow("where it downloads") << "work";
    QTest::newRow("where sets are kept") << "state/signatures/sets";
}

void UpdateTest::keepsWithinAFullDisk()
{
    if (geteuid() != 0)
        QSKIP("only root can mount a small disk");
    QFETCH(QString, full);
    QVERIFY(bench_->publish("Talo.Test.New", 20000)); // larger than the disk
    bench_->endService();
    const QByteArray place = QFile::encodeName(bench_->path(full));
    const QString kept = bench_->path("kept");
    // The sets that are there go onto the small disk.
    QCOMPARE(QProcess::execute("cp", {"-a", bench_->path(full), kept}), 0);
    QCOMPARE(mount("tmpfs", place.constData(), "tmpfs", 0, "size=512k,mode=1777"), 0);
    QCOMPARE(QProcess::execute("cp", {"-a", kept + "/.", bench_->path(full)}), 0);
    QVERIFY(bench_->startService());
    const int status = update();
    const QString detail = bench_->state().value("signaturesDetail").toString();
    const QString found = bench_->detected();
    const QStringList left = bench_->leftovers();
    bench_->endService();
    QCOMPARE(umount(place.constData()), 0);
    QVERIFY(QDir(kept).removeRecursively());
    QCOMPARE(status, 4);
    QVERIFY2(detail.contains("no space is left"), qPrintable(detail));
    QCOMPARE(found, QString("Talo.Test.Old"));
    QCOMPARE(left, QStringList());
}

void UpdateTest::isUnreachableWithoutAServer()
{
    bench_->stopServer();
    QCOMPARE(update(), 8);
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
    QVERIFY(bench_->startServer());
    QCOMPARE(update(), 7);
}

void UpdateTest::isStoppedFromOutside()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("stall");
    reports.clear();
    register_callback(note);
    int handle = 0;
    QCOMPARE(initiate_sig_update(&handle), 0);
    std::atomic<int> code{-1};
    std::thread worker([&] { code = start_sig_update(handle); });
    QTRY_COMPARE(lastStatus.load(), 1);
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 0);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(sig_update_stop(handle), 0);
    worker.join();
    QVERIFY(clock.elapsed() < 5000);
    QCOMPARE(code.load(), 0);
    QCOMPARE(lastStatus.load(), 3);
    QCOMPARE(sig_update_stop(handle), 1); // too late
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 1);
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
    QCOMPARE(bench_->leftovers(), QStringList());
    bench_->serve("normal");
    QCOMPARE(update(), 2);
    QCOMPARE(bench_->detected(), QString("Talo.Test.New"));
}

void UpdateTest::isStoppedBeforeItStarts()
{
    int handle = 0;
    QCOMPARE(initiate_sig_update(&handle), 0);
    QVERIFY(handle > 0);
    QCOMPARE(sig_update_stop(handle + 1), 1);
    QCOMPARE(sig_update_stop(handle), 0);
    QCOMPARE(start_sig_update(handle), 1);
    QCOMPARE(update(), 7);
}

void UpdateTest::runsOneAtATime()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("slow");
    std::thread first([] { update(); });
    QTRY_COMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 0);
    int handle = 77;
    QCOMPARE(initiate_sig_update(&handle), 1);
    QCOMPARE(handle, 0);
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_P"), 1);
    first.join();
    QCOMPARE(lastStatus.load(), 2);
    QCOMPARE(bench_->detected(), QString("Talo.Test.New"));
}

void UpdateTest::forgetsNoHandleOfARun()
{
    int handle = 0;
    QCOMPARE(initiate_sig_update(&handle), 0);
    QCOMPARE(start_sig_update(handle + 1), 1);
    QCOMPARE(start_sig_update(handle), 0);
    QCOMPARE(start_sig_update(handle), 1);
    QCOMPARE(initiate_sig_update(nullptr), 0);
}

void UpdateTest::reportsInOrder()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("slow");
    const auto began = std::chrono::steady_clock::now();
    QCOMPARE(update(), 2);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    QVERIFY(reports.size() > 10);
    QVERIFY2(static_cast<double>(reports.size()) <= 2 + took.count() * 10,
             qPrintable(QString::number(reports.size())));
    float percentage = 0;
    bool moved = false;
    bool fast = false;
    for (const Report &report : reports) {
        QVERIFY(report.thread == std::this_thread::get_id());
        QVERIFY(report.percentage >= percentage && report.percentage <= 100);
        QVERIFY(report.remaining >= 0 && report.remaining <= report.total);
        percentage = report.percentage;
        moved = moved || (report.status == 1 && report.remaining > 0 && report.percentage > 5);
        fast = fast || report.speed > 0;
    }
    QVERIFY(moved);
    QVERIFY(fast);
    QCOMPARE(percentage, 100.0F);
    QVERIFY(reports.back().total > 1000); // kilobytes
}

void UpdateTest::endsHonestlyWhenTheServiceVanishes()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("stall");
    lastStatus = -1;
    int handle = 0;
    QCOMPARE(initiate_sig_update(&handle), 0);
    std::atomic<int> code{-1};
    std::thread worker([&] { code = start_sig_update(handle); });
    QTRY_COMPARE(lastStatus.load(), 1);
    bench_->killService();
    worker.join();
    QCOMPARE(code.load(), 0);
    QCOMPARE(lastStatus.load(), 4);
    QCOMPARE(sig_update_stop(handle), 1);
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 1);
    QCOMPARE(initiate_sig_update(&handle), 3);
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->detected(), QString("Talo.Test.Old"));
}

void UpdateTest::honoursTheCoolDownOverARestart()
{
    QVERIFY(bench_->publish("Talo.Test.New"));
    bench_->serve("cooldown");
    QCOMPARE(update(), 8);
    const qint64 until = bench_->state().value("signaturesNotBefore").toLongLong();
    QVERIFY(qAbs(until - QDateTime::currentSecsSinceEpoch() - 3600) < 60);
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

void UpdateTest::updatesByItself()
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
    QVERIFY(next >= QDateTime::currentSecsSinceEpoch() + 6 * 3600 - 60);

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

void UpdateTest::letsRunningScansKeepTheirSet()
{
    QDir().mkpath(bench_->path("many"));
    for (int number = 0; number < 3; ++number) {
        QFile file(bench_->path("many") + "/" + QString::number(number));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("harmless") > 0);
    }
    const QDBusReply<uint> job =
        ask(bench_->caller(), kScan, "Start", {2u, QFile::encodeName(bench_->path("many"))});
    ask(bench_->caller(), kScan, "Pause", {job.value()});
    const auto progress = [&](uint number) {
        return QDBusReply<ScanProgress>(ask(bench_->caller(), kScan, "Progress", {number, 0u}))
            .value();
    };
    QTRY_COMPARE(progress(job.value()).state, uint(Paused));
    QVERIFY(bench_->publish("Talo.Test.New", 5));
    QCOMPARE(update(), 2);
    QVERIFY(bench_->publish("Talo.Test.Newer", 6));
    QCOMPARE(update(), 2);
    QCOMPARE(bench_->detected(), QString("Talo.Test.Newer"));
    ask(bench_->caller(), kScan, "Resume", {job.value()});
    QTRY_COMPARE(progress(job.value()).state, uint(Finished));
    QCOMPARE(progress(job.value()).errors, 0u);
    const QString key = progress(job.value()).report;
    const QDBusMessage report = ask(bench_->caller(), kReports, "Read", {key});
    bool first = false;
    for (const QVariant &part : report.arguments())
        first = first || part.toString().contains("updated, 1 signature,");
    QVERIFY(first);
    QVERIFY(QDir(bench_->path("many")).removeRecursively());
}

void UpdateTest::fallsBackToThePreviousSet()
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

void UpdateTest::needsASource_data()
{
    QTest::addColumn<QByteArray>("configuration");
    QTest::addColumn<QString>("says");
    QTest::newRow("none") << QByteArray("[Update]\nOfficial = no\n")
                          << "no update source is configured";
    QTest::newRow("bad") << QByteArray("[Update]\nDatabase = file:///etc/passwd\n") << "Database";
    QTest::newRow("no program") << QByteArray("[Update]\nFreshclam = /no/such/program\n")
                                << "install the package clamav-freshclam";
}

void UpdateTest::needsASource()
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

void UpdateTest::leavesNothingWhenItIsKilled()
{
    QVERIFY(bench_->publish("Talo.Test.New", 20000));
    bench_->serve("stall");
    int handle = 0;
    lastStatus = -1;
    QCOMPARE(initiate_sig_update(&handle), 0);
    std::thread worker([&] { start_sig_update(handle); });
    QTRY_COMPARE(lastStatus.load(), 1);
    bench_->killService();
    worker.join();
    QVERIFY(!bench_->leftovers().isEmpty());
    QVERIFY(bench_->startService());
    QCOMPARE(bench_->leftovers(), QStringList());
}

void UpdateTest::isDoneFromTheTerminal()
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
    QTRY_COMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 0);
    const uint handle = bench_->state().value("signaturesHandle").toUInt();
    const auto progress = [&] {
        return QDBusReply<UpdateProgress>(
                   ask(bench_->caller(), kUpdates, "SignatureUpdateProgress", {handle}))
            .value();
    };
    QTRY_COMPARE(progress().status, uint(UpdateDownloading));
    QCOMPARE(kill(static_cast<pid_t>(program.processId()), SIGINT), 0);
    QVERIFY(program.waitForFinished(10000));
    QCOMPARE(program.exitCode(), 2);
    QVERIFY(program.readAll().contains("The update was stopped"));

    bench_->endService();
    QCOMPARE(talo({"signatures"}, said), 2);
    QVERIFY2(said.contains("Start talod"), said);
}

QTEST_GUILESS_MAIN(UpdateTest)
#include "updatetest.moc"
