// Updates of the signatures from end to end: the panel's operations, talod, freshclam, a server.
#include "engine/processchecks.h"
#include "engine/service/updateruns.h"
#include "engine/updates.h"
#include "interface/names.h"
#include "support/soon.h"

#include <QDBusReply>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <sys/mount.h>
#include <unistd.h>

using namespace talo::interface;

class UpdateTest : public UpdateRuns
{
    Q_OBJECT

private slots:
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
};

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
    QTRY_COMPARE_WITH_TIMEOUT(lastStatus.load(), 1, kSoon);
    QCOMPARE(IsProductUpdateRunning("TaloAntivirus_S"), 0);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(sig_update_stop(handle), 0);
    worker.join();
    QVERIFY(clock.elapsed() < kSoon);
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
    QTRY_COMPARE_WITH_TIMEOUT(IsProductUpdateRunning("TaloAntivirus_S"), 0, kSoon);
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
    QTRY_COMPARE_WITH_TIMEOUT(lastStatus.load(), 1, kSoon);
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

QTEST_GUILESS_MAIN(UpdateTest)
#include "updatetest.moc"
