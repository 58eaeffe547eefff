// A scan as its client sees it, against a service that does what the test says.
#include "client/scanjob.h"
#include "engine/programs/support/faketalod.h"
#include "engine/programs/support/samples.h"
#include "engine/service/privatebus.h"
#include "support/soon.h"

#include <QtTest>

#include <memory>

using namespace talo;
using namespace talo::client;
using namespace talo::tests;

Q_DECLARE_METATYPE(QList<talo::interface::ThreatFound>)

class TestScanJob : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void startsWhatItIsTold();
    void reportsProgressAtMostTenTimesASecond();
    void asksSeldomWhenNobodyLooks();
    void asksSeldomWhilePaused();
    void fetchesThreatsInPages();
    void announcesThreatsOnce();
    void pausesResumesAndStops();
    void keepsAnOrderGivenBeforeTheStart();
    void saysWhyAnOrderWasRefused();
    void saysWhyItDidNotStart_data();
    void saysWhyItDidNotStart();
    void failsWhenTheServiceDies();
    void doesNotTakeAnotherServiceForIts();
    void survivesAnAnswerThatIsLate();

private:
    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<FakeTalod> service_;
};

void TestScanJob::initTestCase()
{
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
    qRegisterMetaType<interface::ScanProgress>();
    qRegisterMetaType<QList<interface::ThreatFound>>();
}

void TestScanJob::init()
{
    service_ = std::make_unique<FakeTalod>(bus_->address());
}

void TestScanJob::cleanup()
{
    service_.reset();
}

void TestScanJob::startsWhatItIsTold()
{
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QVERIFY(!job.isActive());
    job.start(interface::CustomScan, "/x\xff\n#,");
    QVERIFY(job.isActive());
    QVERIFY(progressed.wait());
    QCOMPARE(service_->startedKind(), uint{interface::CustomScan});
    QCOMPARE(service_->startedPath(), QByteArray("/x\xff\n#,"));
}

void TestScanJob::reportsProgressAtMostTenTimesASecond()
{
    service_->setProgress(progressIn(interface::Scanning));
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QElapsedTimer clock;
    clock.start();
    job.start(interface::FullScan, "/");
    while (progressed.size() < 8)
        QVERIFY(progressed.wait());
    QVERIFY2(clock.elapsed() >= 700, qPrintable(QString::number(clock.elapsed())));
    const auto progress = progressed.last().at(0).value<interface::ScanProgress>();
    QCOMPARE(progress.clean, 12345U);
    QCOMPARE(progress.current, QStringLiteral("/usr/bin/something"));
}

void TestScanJob::asksSeldomWhenNobodyLooks()
{
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    job.setPace(ScanJob::Pace::Unwatched);
    QElapsedTimer clock;
    clock.start();
    job.start(interface::FullScan, "/");
    QVERIFY(progressed.wait());
    QVERIFY(progressed.wait());
    QVERIFY(clock.elapsed() >= 900);
    // Looked at again it does not wait for the long interval's end. Others may take the time once.
    bool soon = false;
    for (int attempt = 0; attempt < 5 && !soon; ++attempt) {
        job.setPace(ScanJob::Pace::Unwatched);
        QVERIFY(progressed.wait());
        clock.restart();
        job.setPace(ScanJob::Pace::Watched);
        QVERIFY(progressed.wait());
        soon = clock.elapsed() < 900;
    }
    QVERIFY(soon);
}

void TestScanJob::asksSeldomWhilePaused()
{
    service_->setProgress(progressIn(interface::Paused));
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QElapsedTimer clock;
    clock.start();
    job.start(interface::FullScan, "/");
    QVERIFY(progressed.wait());
    QVERIFY(progressed.wait());
    QVERIFY(clock.elapsed() >= 900);
}

void TestScanJob::fetchesThreatsInPages()
{
    service_->setProgress(progressIn(interface::Finished));
    service_->setThreats(manyThreats(250));
    ScanJob job;
    QSignalSpy found(&job, &ScanJob::threatsFound);
    QSignalSpy ended(&job, &ScanJob::ended);
    QSignalSpy failed(&job, &ScanJob::failed);
    job.start(interface::FullScan, "/");
    QVERIFY(ended.wait());
    QVERIFY(!job.isActive());
    QList<interface::ThreatFound> all;
    for (const QList<QVariant> &page : found)
        all += page.at(0).value<QList<interface::ThreatFound>>();
    QCOMPARE(found.size(), 3);
    QCOMPARE(all.size(), 250);
    QCOMPARE(all.at(249).path, QStringLiteral("/tmp/threat-249"));
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended.at(0).at(0).value<interface::ScanProgress>().report,
             QStringLiteral("2026-11-21 14:05:09"));
    QVERIFY(failed.isEmpty());
}

void TestScanJob::announcesThreatsOnce()
{
    service_->setThreats(manyThreats(2));
    ScanJob job;
    QSignalSpy found(&job, &ScanJob::threatsFound);
    QSignalSpy progressed(&job, &ScanJob::progressed);
    job.start(interface::FullScan, "/");
    while (progressed.size() < 3)
        QVERIFY(progressed.wait());
    QCOMPARE(found.size(), 1);
    service_->setThreats(manyThreats(3));
    QVERIFY(found.wait());
    QCOMPARE(found.at(1).at(0).value<QList<interface::ThreatFound>>().size(), 1);
}

void TestScanJob::pausesResumesAndStops()
{
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QSignalSpy ended(&job, &ScanJob::ended);
    const auto state = [&progressed] {
        return progressed.isEmpty()
                   ? uint{interface::Preparing}
                   : progressed.last().at(0).value<interface::ScanProgress>().state;
    };
    job.start(interface::FullScan, "/");
    QTRY_COMPARE_WITH_TIMEOUT(state(), uint{interface::Scanning}, kSoon);
    job.pause();
    QTRY_COMPARE_WITH_TIMEOUT(state(), uint{interface::Paused}, kSoon);
    job.resume();
    QTRY_COMPARE_WITH_TIMEOUT(state(), uint{interface::Scanning}, kSoon);
    job.stop();
    QVERIFY(ended.wait());
    QCOMPARE(ended.at(0).at(0).value<interface::ScanProgress>().state, uint{interface::Stopped});
}

void TestScanJob::keepsAnOrderGivenBeforeTheStart()
{
    ScanJob job;
    QSignalSpy ended(&job, &ScanJob::ended);
    job.start(interface::FullScan, "/");
    job.pause();
    job.stop();
    QVERIFY(ended.wait());
    QCOMPARE(service_->callsOf(QStringLiteral("Pause")), 0);
    QCOMPARE(service_->callsOf(QStringLiteral("Stop")), 1);
}

void TestScanJob::saysWhyAnOrderWasRefused()
{
    service_->refuse(QStringLiteral("Stop"), QString::fromLatin1(interface::kErrorNotPermitted),
                     QStringLiteral("not yours"));
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QSignalSpy refused(&job, &ScanJob::refused);
    job.start(interface::FullScan, "/");
    QVERIFY(progressed.wait());
    job.stop();
    QVERIFY(refused.wait());
    QVERIFY(refused.at(0).at(0).toString().contains(QLatin1String("not yours")));
    QVERIFY(job.isActive());
    QVERIFY(progressed.wait());
}

void TestScanJob::saysWhyItDidNotStart_data()
{
    QTest::addColumn<QString>("error");
    QTest::addColumn<QString>("words");
    QTest::newRow("running") << interface::kErrorRunning << "A quick scan is already running.";
    QTest::newRow("limit") << interface::kErrorLimit << "As many scans as are allowed";
    QTest::newRow("not found") << interface::kErrorNotFound << "no such file or folder";
    QTest::newRow("refused") << interface::kErrorNotPermitted << "refused";
    QTest::newRow("another fault") << interface::kErrorFailed << "the reason";
}

void TestScanJob::saysWhyItDidNotStart()
{
    QFETCH(QString, error);
    QFETCH(QString, words);
    service_->refuse(QStringLiteral("Start"), error, QStringLiteral("the reason"));
    ScanJob job;
    QSignalSpy failed(&job, &ScanJob::failed);
    job.start(interface::QuickScan, "/");
    QVERIFY(failed.wait());
    QVERIFY(!job.isActive());
    const QString said = failed.at(0).at(0).toString();
    QVERIFY2(said.contains(words), qPrintable(said));
    QCOMPARE(service_->callsOf(QStringLiteral("Progress")), 0);
}

void TestScanJob::failsWhenTheServiceDies()
{
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QSignalSpy failed(&job, &ScanJob::failed);
    QSignalSpy ended(&job, &ScanJob::ended);
    job.start(interface::FullScan, "/");
    QVERIFY(progressed.wait());
    service_->die();
    QVERIFY(failed.wait());
    QVERIFY(failed.at(0).at(0).toString().startsWith(QLatin1String("The scan service stopped")));
    QVERIFY(!job.isActive());
    QVERIFY(ended.isEmpty());
}

void TestScanJob::doesNotTakeAnotherServiceForIts()
{
    ScanJob job;
    QSignalSpy progressed(&job, &ScanJob::progressed);
    QSignalSpy failed(&job, &ScanJob::failed);
    job.start(interface::FullScan, "/");
    QVERIFY(progressed.wait());
    service_->die();
    FakeTalod successor(bus_->address()); // it would answer for any job
    QVERIFY(failed.wait());
    QCOMPARE(successor.callsOf(QStringLiteral("Progress")), 0);
}

void TestScanJob::survivesAnAnswerThatIsLate()
{
    service_->keepSilent(QStringLiteral("Progress"));
    ScanJob job;
    QSignalSpy failed(&job, &ScanJob::failed);
    job.start(interface::FullScan, "/");
    QTRY_COMPARE_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")), 1, kSoon);
    // The first is given up after five seconds, and asked again.
    QTRY_COMPARE_WITH_TIMEOUT(service_->callsOf(QStringLiteral("Progress")), 2, kSoon);
    QVERIFY(failed.isEmpty());
    QVERIFY(job.isActive());
}

QTEST_GUILESS_MAIN(TestScanJob)
#include "test_scanjob.moc"
