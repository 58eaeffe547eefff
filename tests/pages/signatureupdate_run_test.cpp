// Whole runs of a signature update: the worker, the engine that reports from other threads, and the
// buttons of the window.
#include "pages/signatureupdate.h"
#include "support/scriptedengine.h"
#include "support/soon.h"
#include "support/widgets.h"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QSemaphore>
#include <QSignalSpy>
#include <QThread>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::button;
using talo::test::click;
using talo::test::ScriptedEngine;

namespace
{

const char kNetwork[] = "IsInternetAvailable";
const char kInitiate[] = "initiate_sig_update";
const char kStart[] = "start_sig_update";
const char kStop[] = "sig_update_stop";

QStringList callNames()
{
    QStringList names;
    for (const auto &call : ScriptedEngine::instance().calls()) {
        names << QString::fromStdString(call.function);
    }
    return names;
}

} // namespace

class SignatureUpdateRunTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void workerAsksInOrder();
    void offline_data();
    void offline();
    void failsToPrepare_data();
    void failsToPrepare();
    void failsUnderWay_data();
    void failsUnderWay();
    void succeeds();
    void endsWithoutReport();
    void everyOutcomeFromAnotherThread_data();
    void everyOutcomeFromAnotherThread();
    void stopShowsEnginesWord();
    void stopWithoutReportLeavesSuccessText();
    void refusedStopChangesNothing();
    void cancelStopsAndCloses_data();
    void cancelStopsAndCloses();
    void closingLeavesRunAlone();
    void lastStartedWindowGetsReports();
    void slotsRunOnTheirOwnThread();

private:
    // Holds the engine inside start_sig_update() until release().
    void holdRun();
    void release() { held_.release(); }
    void startRun();
    bool finished() const { return finishPanel()->isVisible(); }
    QWidget *finishPanel() const
    {
        return window_->findChildren<QWidget *>("sigupdatemiddle").value(1);
    }
    QString outcome() const { return window_->findChild<QLabel *>("lblScanStatus")->text(); }
    void engineSays(long long total, long long remaining, float percentage, int speed, int status);

    std::unique_ptr<SignatureUpdate> window_;
    QSemaphore held_;
    bool holding_ = false;
};

void SignatureUpdateRunTest::init()
{
    ScriptedEngine::instance().reset();
    ScriptedEngine::instance().answer(kNetwork, {1});
    ScriptedEngine::instance().answer(kInitiate, {0, {}, {42}});
    window_ = std::make_unique<SignatureUpdate>(nullptr);
    window_->show();
    holding_ = false;
}

void SignatureUpdateRunTest::cleanup()
{
    if (holding_) {
        release();
    }
    // Workers have no parent and outlive their window: they are waited for by what they call.
    if (!ScriptedEngine::instance().calls("register_callback").empty()) {
        QTest::qWait(20);
    }
}

void SignatureUpdateRunTest::holdRun()
{
    talo::test::Answer answer;
    answer.during = [this] { held_.acquire(); };
    ScriptedEngine::instance().answer(kStart, answer);
    holding_ = true;
}

void SignatureUpdateRunTest::startRun()
{
    window_->startSignatureUpdate();
    QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls(kStart).size(), size_t(1), kSoon);
}

void SignatureUpdateRunTest::engineSays(long long total, long long remaining, float percentage,
                                        int speed, int status)
{
    QVERIFY(ScriptedEngine::instance().reportUpdate(total, remaining, percentage, speed, status));
    QCoreApplication::processEvents();
}

void SignatureUpdateRunTest::workerAsksInOrder()
{
    window_->startSignatureUpdate();
    QTRY_COMPARE_WITH_TIMEOUT(
        callNames(), QStringList({"register_callback", kNetwork, kInitiate, kStart}), kSoon);
    QCOMPARE(ScriptedEngine::instance().calls("register_callback")[0].arguments,
             std::vector<std::string>{"function"});
    QCOMPARE(ScriptedEngine::instance().calls(kStart)[0].arguments, std::vector<std::string>{"42"});
    QVERIFY(app_obj_ptr == window_.get());
}

void SignatureUpdateRunTest::offline_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<bool>("offline");
    QTest::newRow("-1") << -1 << true;
    QTest::newRow("0") << 0 << false;
    QTest::newRow("-2") << -2 << false;
    QTest::newRow("1") << 1 << false;
}

void SignatureUpdateRunTest::offline()
{
    QFETCH(int, code);
    QFETCH(bool, offline);
    ScriptedEngine::instance().answer(kNetwork, {code});
    window_->startSignatureUpdate();
    if (offline) {
        QTRY_VERIFY_WITH_TIMEOUT(finished(), kSoon);
        QCOMPARE(outcome(), QString("You do not have any working Internet Connection !"));
        QVERIFY(ScriptedEngine::instance().calls(kInitiate).empty());
    } else {
        QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls(kStart).size(), size_t(1),
                                  kSoon);
        QVERIFY(!finished());
    }
}

void SignatureUpdateRunTest::failsToPrepare_data()
{
    QTest::addColumn<int>("code");
    for (int code : {1, 2, 3, -1}) {
        QTest::addRow("%d", code) << code;
    }
}

void SignatureUpdateRunTest::failsToPrepare()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kInitiate, {code, {}, {42}});
    window_->startSignatureUpdate();
    QTRY_VERIFY_WITH_TIMEOUT(finished(), kSoon);
    QCOMPARE(outcome(), QString("Virus signature update stopped, Try again !"));
    QVERIFY(ScriptedEngine::instance().calls(kStart).empty());
}

void SignatureUpdateRunTest::failsUnderWay_data()
{
    failsToPrepare_data();
}

void SignatureUpdateRunTest::failsUnderWay()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kStart, {code});
    window_->startSignatureUpdate();
    QTRY_VERIFY_WITH_TIMEOUT(finished(), kSoon);
    QCOMPARE(outcome(), QString("Virus signature update stopped, Try again !"));
}

void SignatureUpdateRunTest::succeeds()
{
    QSignalSpy announced(window_.get(), SIGNAL(updateSigInfo()));
    talo::test::Answer answer;
    answer.during = [] {
        engineCallBack(2000, 2000, 0.0F, 0, 0);
        engineCallBack(2000, 1000, 50.0F, 250, 1);
        engineCallBack(2000, 0, 99.0F, 250, 6);
        engineCallBack(2000, 0, 100.0F, 250, 2);
    };
    ScriptedEngine::instance().answer(kStart, answer);
    window_->startSignatureUpdate();
    QTRY_VERIFY_WITH_TIMEOUT(finished(), kSoon);
    QCOMPARE(outcome(), QString("Virus signature updated successfully !"));
    QCOMPARE(announced.count(), 1);
    QCOMPARE(window_->findChild<QProgressBar *>("prg")->value(), 99);
}

// The engine's 0 alone is no outcome: the window goes on showing what it showed.
void SignatureUpdateRunTest::endsWithoutReport()
{
    startRun();
    QTest::qWait(50);
    QVERIFY(!finished());
}

void SignatureUpdateRunTest::everyOutcomeFromAnotherThread_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::newRow("done") << 2 << "Virus signature updated successfully !";
    QTest::newRow("stopped by the user") << 3 << "Virus signature update stopped.";
    QTest::newRow("stopped by a fault") << 4 << "Virus signature update stopped.";
    QTest::newRow("latest") << 7 << "You already have latest virus signature.";
    QTest::newRow("unreachable") << 8 << "Update server is unreachable, Try again !";
}

void SignatureUpdateRunTest::everyOutcomeFromAnotherThread()
{
    QFETCH(int, status);
    holdRun();
    startRun();
    QVERIFY(!button(window_.get(), "STOP")->isEnabled());
    engineSays(300, 200, 33.3F, 10, 1);
    QVERIFY(button(window_.get(), "STOP")->isEnabled());
    QVERIFY(!finished());
    engineSays(300, 0, 100.0F, 10, status);
    QVERIFY(finished());
    QTEST(outcome(), "text");
    QVERIFY(click(button(window_.get(), "FINISH")));
    QVERIFY(!window_->isVisible());
}

void SignatureUpdateRunTest::stopShowsEnginesWord()
{
    holdRun();
    startRun();
    engineSays(300, 200, 33.3F, 10, 1);
    talo::test::Answer answer;
    answer.during = [] { ScriptedEngine::instance().reportUpdate(300, 200, 33.3F, 0, 3); };
    ScriptedEngine::instance().answer(kStop, answer);
    QVERIFY(click(button(window_.get(), "STOP")));
    QTRY_COMPARE_WITH_TIMEOUT(outcome(), QString("Virus signature update stopped."), kSoon);
    QVERIFY(finished());
    QCOMPARE(ScriptedEngine::instance().calls(kStop)[0].arguments, std::vector<std::string>{"42"});
}

void SignatureUpdateRunTest::stopWithoutReportLeavesSuccessText()
{
    holdRun();
    startRun();
    engineSays(300, 200, 33.3F, 10, 1);
    QVERIFY(click(button(window_.get(), "STOP")));
    QVERIFY(finished());
    QCOMPARE(outcome(), QString("Virus signature updated successfully !"));
}

void SignatureUpdateRunTest::refusedStopChangesNothing()
{
    holdRun();
    startRun();
    engineSays(300, 200, 33.3F, 10, 1);
    ScriptedEngine::instance().answer(kStop, {1});
    QVERIFY(click(button(window_.get(), "STOP")));
    QVERIFY(!finished());
    QVERIFY(button(window_.get(), "STOP")->isEnabled());
    ScriptedEngine::instance().answer(kStop, {0});
    QVERIFY(click(button(window_.get(), "STOP")));
    QVERIFY(finished());
}

void SignatureUpdateRunTest::cancelStopsAndCloses_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("stopped") << 0;
    QTest::newRow("too late") << 1;
}

void SignatureUpdateRunTest::cancelStopsAndCloses()
{
    QFETCH(int, code);
    holdRun();
    startRun();
    engineSays(300, 200, 33.3F, 10, 1);
    ScriptedEngine::instance().answer(kStop, {code});
    QVERIFY(click(button(window_.get(), "CANCEL")));
    QVERIFY(!window_->isVisible());
    QCOMPARE(ScriptedEngine::instance().calls(kStop).size(), size_t(1));
    QCOMPARE(ScriptedEngine::instance().calls(kStop)[0].arguments, std::vector<std::string>{"42"});
}

void SignatureUpdateRunTest::closingLeavesRunAlone()
{
    QSignalSpy announced(window_.get(), SIGNAL(updateSigInfo()));
    holdRun();
    startRun();
    window_->close();
    engineSays(300, 0, 100.0F, 10, 2);
    QCOMPARE(announced.count(), 1);
    QVERIFY(ScriptedEngine::instance().calls(kStop).empty());
}

void SignatureUpdateRunTest::lastStartedWindowGetsReports()
{
    window_->startSignatureUpdate();
    QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls(kStart).size(), size_t(1), kSoon);
    SignatureUpdate second(nullptr);
    second.show();
    second.startSignatureUpdate();
    QTRY_COMPARE_WITH_TIMEOUT(ScriptedEngine::instance().calls(kStart).size(), size_t(2), kSoon);
    engineSays(300, 0, 100.0F, 10, 7);
    QVERIFY(!finished());
    QVERIFY(second.findChildren<QWidget *>("sigupdatemiddle").value(1)->isVisible());
}

void SignatureUpdateRunTest::slotsRunOnTheirOwnThread()
{
    QThread *seen = nullptr;
    connect(window_.get(), &SignatureUpdate::updateSigInfo, window_.get(),
            [&seen] { seen = QThread::currentThread(); });
    holdRun();
    startRun();
    QVERIFY(ScriptedEngine::instance().reportUpdate(300, 0, 100.0F, 10, 2));
    QVERIFY(!finished()); // nothing has touched a widget from the other thread
    QTRY_VERIFY_WITH_TIMEOUT(finished(), kSoon);
    QCOMPARE(seen, QThread::currentThread());
}

QTEST_MAIN(SignatureUpdateRunTest)
#include "signatureupdate_run_test.moc"
