// The window of a signature update: what each report of the engine does.
#include "pages/shownupdate.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

using namespace talo::test;

class SignatureUpdateReportTest : public ShownUpdate
{
    Q_OBJECT

private slots:
    void totalSize_data();
    void totalSize();
    void remainingSize_data();
    void remainingSize();
    void speed_data();
    void speed();
    void smallPercentagesAreIgnored_data();
    void smallPercentagesAreIgnored();
    void secondReportMakesBarDeterminate();
    void repeatedSmallReportCounts();
    void hundredIsIgnored();
    void nearlyHundredIsShown();
    void statusLineChangesAboveEighty_data();
    void statusLineChangesAboveEighty();
    void aboveHundredIsTheLast();
    void hundredAndAHalfLeavesBar();
    void finalStatus_data();
    void finalStatus();
    void otherStatusChangesNoPanel_data();
    void otherStatusChangesNoPanel();
    void newVersionIsAnnouncedBeforeFinishView();
    void workersOutcomes_data();
    void workersOutcomes();
    void lateReportsStayBehindFinishView();
    void finishClosesWindow();
};

void SignatureUpdateReportTest::totalSize_data()
{
    QTest::addColumn<long long>("total");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("enables");
    QTest::newRow("nothing") << 0LL << "0 KB" << false;
    QTest::newRow("negative") << -5LL << "-5 KB" << false;
    QTest::newRow("one") << 1LL << "1 KB" << true;
    QTest::newRow("not scaled") << 123456789012LL << "123456789012 KB" << true;
}

void SignatureUpdateReportTest::totalSize()
{
    QFETCH(long long, total);
    QFETCH(bool, enables);
    report(total, 0, 0, 0, 0);
    QTEST(figure("Total Size")->text(), "shown");
    QCOMPARE(button(window_.get(), "STOP")->isEnabled(), enables);
    QCOMPARE(button(window_.get(), "CANCEL")->isEnabled(), enables);
    report(0, 0, 0, 0, 0); // what is enabled stays so
    QCOMPARE(button(window_.get(), "STOP")->isEnabled(), enables);
}

void SignatureUpdateReportTest::remainingSize_data()
{
    QTest::addColumn<long long>("remaining");
    QTest::addColumn<QString>("shown");
    QTest::newRow("some") << 5000000000LL << "5000000000 KB";
    QTest::newRow("none") << 0LL << "0 KB";
    QTest::newRow("negative") << -1LL << "-1 KB";
}

void SignatureUpdateReportTest::remainingSize()
{
    QFETCH(long long, remaining);
    report(0, 77, 0, 0, 0);
    report(0, remaining, 0, 0, 0);
    QTEST(figure("Remaining Size")->text(), "shown");
    QVERIFY(!button(window_.get(), "STOP")->isEnabled());
}

void SignatureUpdateReportTest::speed_data()
{
    QTest::addColumn<int>("speed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("some") << 12 << "12 KB/s";
    QTest::newRow("none") << 0 << "9 KB/s";
    QTest::newRow("negative") << -4 << "9 KB/s";
}

void SignatureUpdateReportTest::speed()
{
    QFETCH(int, speed);
    report(0, 0, 0, 9, 0);
    report(0, 0, 0, speed, 0);
    QTEST(figure("Download Speed")->text(), "shown");
}

void SignatureUpdateReportTest::smallPercentagesAreIgnored_data()
{
    QTest::addColumn<float>("percentage");
    for (float percentage : {0.0F, 0.5F, 1.0F, -3.0F, float(qQNaN())}) {
        QTest::addRow("%g", double(percentage)) << percentage;
    }
}

void SignatureUpdateReportTest::smallPercentagesAreIgnored()
{
    QFETCH(float, percentage);
    report(0, 0, percentage, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("0 %"));
    QCOMPARE(statusLine(), QString("Please Wait! Checking for latest update."));
    report(0, 0, 10.4F, 0, 1); // the first that counts
    QVERIFY(isBusy());
}

void SignatureUpdateReportTest::secondReportMakesBarDeterminate()
{
    report(0, 0, 0.5F, 0, 1);
    report(0, 0, 1.0F, 0, 1);
    report(0, 0, 1.5F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("1.5 %"));
    QCOMPARE(statusLine(), QString("Downloading update in progress..."));
    QVERIFY(isBusy());
    report(0, 0, 10.4F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("10.4 %"));
    QCOMPARE(bar()->minimum(), 0);
    QCOMPARE(bar()->maximum(), 100);
    QCOMPARE(bar()->value(), 10);
}

void SignatureUpdateReportTest::repeatedSmallReportCounts()
{
    report(0, 0, 1.5F, 0, 1);
    report(0, 0, 1.6F, 0, 1);
    QCOMPARE(bar()->maximum(), 100);
    QCOMPARE(bar()->value(), 1);
}

void SignatureUpdateReportTest::hundredIsIgnored()
{
    report(0, 0, 100.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("0 %"));
    report(0, 0, 42.5F, 0, 1);
    QVERIFY(isBusy()); // nothing was stored before
    report(0, 0, 43.0F, 0, 1);
    report(0, 0, 100.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("43.0 %"));
    QCOMPARE(bar()->value(), 43);
    QCOMPARE(statusLine(), QString("Downloading update in progress..."));
}

void SignatureUpdateReportTest::nearlyHundredIsShown()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 99.97F, 0, 6);
    QCOMPARE(figure("Percentage")->text(), QString("100.0 %"));
    QCOMPARE(bar()->value(), 99);
    report(0, 0, 42.5F, 0, 6); // 99 was stored, not 100 or more
    QCOMPARE(figure("Percentage")->text(), QString("42.5 %"));
}

void SignatureUpdateReportTest::statusLineChangesAboveEighty_data()
{
    QTest::addColumn<float>("percentage");
    QTest::addColumn<QString>("line");
    QTest::newRow("80") << 80.0F << "Downloading update in progress...";
    QTest::newRow("80.9") << 80.9F << "Downloading update in progress...";
    QTest::newRow("81") << 81.0F << "Applying update in progress...";
    QTest::newRow("99") << 99.0F << "Applying update in progress...";
}

void SignatureUpdateReportTest::statusLineChangesAboveEighty()
{
    QFETCH(float, percentage);
    report(0, 0, percentage, 0, 1);
    QTEST(statusLine(), "line");
}

void SignatureUpdateReportTest::aboveHundredIsTheLast()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 101.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("101.0 %"));
    report(0, 0, 60.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("101.0 %"));
}

void SignatureUpdateReportTest::hundredAndAHalfLeavesBar()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 51.0F, 0, 1);
    report(0, 0, 100.5F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("100.5 %"));
    QCOMPARE(bar()->value(), 51);
    report(0, 0, 60.0F, 0, 1); // 100 is stored, which is not above it
    QCOMPARE(bar()->value(), 60);
}

void SignatureUpdateReportTest::finalStatus_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("announced");
    QTest::newRow("done") << 2 << "Virus signature updated successfully !" << 1;
    QTest::newRow("stopped by the user") << 3 << "Virus signature update stopped." << 0;
    QTest::newRow("stopped by a fault") << 4 << "Virus signature update stopped." << 0;
    QTest::newRow("latest") << 7 << "You already have latest virus signature." << 0;
    QTest::newRow("unreachable") << 8 << "Update server is unreachable, Try again !" << 0;
}

void SignatureUpdateReportTest::finalStatus()
{
    QFETCH(int, status);
    QSignalSpy announced(window_.get(), SIGNAL(updateSigInfo()));
    report(100, 50, 50.0F, 33, 1);
    QCOMPARE(figure("Download Speed")->text(), QString("33 KB/s"));
    report(100, 0, 100.0F, 33, status);
    QVERIFY(finished());
    QTEST(outcome()->text(), "text");
    QCOMPARE(figure("Download Speed")->text(), QString("0 KB/s"));
    QTEST(announced.count(), "announced");
}

void SignatureUpdateReportTest::otherStatusChangesNoPanel_data()
{
    QTest::addColumn<int>("status");
    for (int status : {0, 1, 5, 6, 9, -1}) {
        QTest::addRow("%d", status) << status;
    }
}

void SignatureUpdateReportTest::otherStatusChangesNoPanel()
{
    QFETCH(int, status);
    QSignalSpy announced(window_.get(), SIGNAL(updateSigInfo()));
    report(100, 40, 60.0F, 7, status);
    QVERIFY(progressPanel()->isVisible());
    QVERIFY(finishPanel()->isHidden());
    QVERIFY(button(window_.get(), "FINISH")->isHidden());
    QCOMPARE(figure("Total Size")->text(), QString("100 KB"));
    QCOMPARE(figure("Remaining Size")->text(), QString("40 KB"));
    QCOMPARE(figure("Percentage")->text(), QString("60.0 %"));
    QCOMPARE(figure("Download Speed")->text(), QString("7 KB/s"));
    QCOMPARE(announced.count(), 0);
}

void SignatureUpdateReportTest::newVersionIsAnnouncedBeforeFinishView()
{
    bool finishedThen = true;
    connect(window_.get(), &SignatureUpdate::updateSigInfo, window_.get(),
            [&] { finishedThen = finishPanel()->isVisible(); });
    report(0, 0, 0, 0, 2);
    QVERIFY(!finishedThen);
    QVERIFY(finished());
}

void SignatureUpdateReportTest::workersOutcomes_data()
{
    QTest::addColumn<QByteArray>("slot");
    QTest::addColumn<QString>("text");
    QTest::newRow("failure") << QByteArray("handleSignatureUpdateRetVal")
                             << "Virus signature update stopped, Try again !";
    QTest::newRow("offline") << QByteArray("handleNoInternetConnection")
                             << "You do not have any working Internet Connection !";
    QTest::newRow("completed") << QByteArray("signatureUpdateComplet")
                               << "Virus signature updated successfully !";
}

// None of them touches the figures.
void SignatureUpdateReportTest::workersOutcomes()
{
    QFETCH(QByteArray, slot);
    report(100, 50, 50.0F, 33, 3);
    report(100, 50, 50.0F, 44, 1);
    const bool called = slot == "handleSignatureUpdateRetVal"
                            ? QMetaObject::invokeMethod(window_.get(), slot, Q_ARG(int, 3))
                            : QMetaObject::invokeMethod(window_.get(), slot);
    QVERIFY(called);
    QVERIFY(finished());
    QTEST(outcome()->text(), "text");
    QCOMPARE(figure("Download Speed")->text(), QString("44 KB/s"));
}

void SignatureUpdateReportTest::lateReportsStayBehindFinishView()
{
    report(0, 0, 0, 0, 8);
    report(500, 400, 20.0F, 8, 1);
    QVERIFY(finished());
    QCOMPARE(figure("Total Size")->text(), QString("500 KB"));
    QCOMPARE(figure("Percentage")->text(), QString("20.0 %"));
    QCOMPARE(outcome()->text(), QString("Update server is unreachable, Try again !"));
}

void SignatureUpdateReportTest::finishClosesWindow()
{
    report(0, 0, 0, 0, 7);
    QVERIFY(click(button(window_.get(), "FINISH")));
    QVERIFY(!window_->isVisible());
    QVERIFY(ScriptedEngine::instance().calls("sig_update_stop").empty());
}

QTEST_MAIN(SignatureUpdateReportTest)
#include "signatureupdate_report_test.moc"
