// The window of a signature update: how it is built, and what each report of the engine does.
#include "pages/signatureupdate.h"
#include "pages/sigupdatethread.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QApplication>
#include <QLabel>
#include <QLayout>
#include <QProgressBar>
#include <QScreen>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::button;
using talo::test::click;
using talo::test::layoutOf;
using talo::test::ScriptedEngine;

class SignatureUpdateWindowTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsAndSlotsInOrder();
    void isBuiltAsDesigned();
    void topIsBuiltAsDesigned();
    void progressPanelIsBuiltAsDesigned();
    void finishPanelIsBuiltAsDesigned();
    void bottomIsBuiltAsDesigned();
    void installsStyle();
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

private:
    // Everything the engine can say at once, straight to the window's signals.
    void report(long long total, long long remaining, float percentage, int speed, int status);
    QList<QWidget *> panels() const { return window_->findChildren<QWidget *>("sigupdatemiddle"); }
    QWidget *progressPanel() const { return panels().value(0); }
    QWidget *finishPanel() const { return panels().value(1); }
    QString statusLine() const { return progressPanel()->findChild<QLabel *>()->text(); }
    QLabel *outcome() const { return window_->findChild<QLabel *>("lblScanStatus"); }
    QProgressBar *bar() const { return window_->findChild<QProgressBar *>("prg"); }
    QLabel *figure(const QString &caption) const;
    bool isBusy() const { return bar()->minimum() == 0 && bar()->maximum() == 0; }
    bool finished() const;

    std::unique_ptr<SignatureUpdate> window_;
};

void SignatureUpdateWindowTest::init()
{
    ScriptedEngine::instance().reset();
    window_ = std::make_unique<SignatureUpdate>(nullptr);
    window_->show();
}

void SignatureUpdateWindowTest::report(long long total, long long remaining, float percentage,
                                       int speed, int status)
{
    app_obj_ptr = window_.get();
    engineCallBack(total, remaining, percentage, speed, status);
}

QLabel *SignatureUpdateWindowTest::figure(const QString &caption) const
{
    const QList<QLabel *> labels =
        window_->findChild<QWidget *>("sigupdatebottom")->findChildren<QLabel *>();
    for (int index = 0; index + 1 < labels.size(); ++index) {
        if (labels[index]->text() == caption) {
            return labels[index + 1];
        }
    }
    return nullptr;
}

bool SignatureUpdateWindowTest::finished() const
{
    return finishPanel()->isVisible() && !progressPanel()->isVisible() &&
           button(window_.get(), "FINISH")->isVisible() &&
           button(window_.get(), "STOP")->isHidden() &&
           button(window_.get(), "CANCEL")->isHidden() && bar()->isHidden();
}

void SignatureUpdateWindowTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(talo::test::signalsOf(SignatureUpdate::staticMetaObject),
             QStringList({"updateSigInfo()", "updateTotalSize(qlonglong)",
                          "updateRemainingSize(qlonglong)", "updatePercentage(float)",
                          "updateDownloadSpeed(int)", "updateStatus(int)"}));
    QCOMPARE(talo::test::slotsOf(SignatureUpdate::staticMetaObject),
             QStringList({"updateTotalSizeStr(qlonglong)", "updateRemainingSizeStr(qlonglong)",
                          "updatePercentageStr(float)", "updateDownloadSpeedStr(int)",
                          "updateStatusStr(int)", "signatureUpdateComplet()",
                          "handleSignatureUpdateRetVal(int)", "btnStopSigUpdateClicked()",
                          "handleSigUpdateCommPort(int)", "btnCancelSigUpdateClicked()",
                          "handleNoInternetConnection()"}));
    QCOMPARE(talo::test::signalsOf(SignatureUpdateThread::staticMetaObject),
             QStringList({"sigUpdateCompleted()", "sigUpdateRetVal(int)", "sigUpdateCommPort(int)",
                          "NoInternetConnection()"}));
    QVERIFY(SignatureUpdate::staticMetaObject.superClass() == &QWidget::staticMetaObject);
}

void SignatureUpdateWindowTest::isBuiltAsDesigned()
{
    QCOMPARE(window_->minimumSize(), QSize(600, 260));
    QCOMPARE(window_->maximumSize(), QSize(600, 260));
    QCOMPARE(window_->objectName(), QString("SignatureUpdate"));
    // Qt itself adds the window's menu.
    QCOMPARE(window_->windowFlags() & ~Qt::WindowType_Mask & ~Qt::WindowSystemMenuHint,
             Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint);
    QVERIFY(!window_->testAttribute(Qt::WA_DeleteOnClose));
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QCOMPARE(window_->geometry().center(), screen.center());
    QCOMPARE(layoutOf(window_.get()),
             QStringList({"widget QWidget", "stretch", "widget sigupdatemiddle",
                          "widget sigupdatemiddle", "widget sigupdatebottom", "stretch"}));
    QCOMPARE(window_->contentsMargins(), QMargins());
}

void SignatureUpdateWindowTest::topIsBuiltAsDesigned()
{
    QWidget *top = window_->layout()->itemAt(0)->widget();
    QCOMPARE(top->size(), QSize(600, 80));
    QCOMPARE(top->contentsMargins(), QMargins(5, 0, 0, 0));
    QCOMPARE(top->findChild<QLabel *>("lblSigInfo")->text(), QString("Update"));
    QCOMPARE(top->findChild<QLabel *>("lblSubSigInfo")->text(),
             QString("TALO Antivirus is installing the latest virus and spyware definitions."));
    QCOMPARE(top->findChild<QToolButton *>("iconUpdate")->iconSize(), QSize(40, 40));
    QCOMPARE(layoutOf(top),
             QStringList({"widget iconUpdate", "spacing 10",
                          "column [stretch, widget lblSigInfo, spacing 5, widget lblSubSigInfo, "
                          "stretch]",
                          "spacing 10"}));
}

void SignatureUpdateWindowTest::progressPanelIsBuiltAsDesigned()
{
    QCOMPARE(progressPanel()->size(), QSize(600, 100));
    QCOMPARE(progressPanel()->contentsMargins(), QMargins(40, 0, 0, 0));
    QVERIFY(progressPanel()->isVisible());
    QCOMPARE(statusLine(), QString("Please Wait! Checking for latest update."));
    QVERIFY(isBusy());
    QVERIFY(!bar()->isTextVisible());
    for (const char *text : {"STOP", "CANCEL"}) {
        QVERIFY(!button(window_.get(), text)->isEnabled());
        QCOMPARE(button(window_.get(), text)->cursor().shape(), Qt::PointingHandCursor);
    }
    QCOMPARE(layoutOf(progressPanel()),
             QStringList({"stretch", "widget QLabel", "stretch", "widget prg", "stretch",
                          "row [stretch, widget QToolButton, spacing 10, widget QToolButton, "
                          "spacing 50]",
                          "stretch"}));
}

void SignatureUpdateWindowTest::finishPanelIsBuiltAsDesigned()
{
    QCOMPARE(finishPanel()->size(), QSize(600, 100));
    QVERIFY(finishPanel()->isHidden());
    QCOMPARE(outcome()->text(), QString("Virus signature updated successfully !"));
    QVERIFY(button(window_.get(), "FINISH")->isHidden());
    QCOMPARE(button(window_.get(), "FINISH")->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(layoutOf(finishPanel()), QStringList({"stretch", "widget lblScanStatus", "stretch",
                                                   "widget QToolButton", "stretch"}));
    QCOMPARE(finishPanel()->layout()->itemAt(1)->alignment(), Qt::Alignment(Qt::AlignHCenter));
    QCOMPARE(finishPanel()->layout()->itemAt(3)->alignment(), Qt::Alignment(Qt::AlignHCenter));
}

void SignatureUpdateWindowTest::bottomIsBuiltAsDesigned()
{
    auto *bottom = window_->findChild<QWidget *>("sigupdatebottom");
    QCOMPARE(bottom->size(), QSize(600, 80));
    QStringList texts;
    for (const QLabel *label : bottom->findChildren<QLabel *>()) {
        texts << label->text();
        QCOMPARE(label->minimumSize(), QSize(150, 20));
        QCOMPARE(label->maximumSize(), QSize(150, 20));
    }
    QCOMPARE(texts, QStringList({"Percentage", "0 %", "Download Speed", "0 KB/s", "Total Size",
                                 "0 KB", "Remaining Size", "0 KB"}));
    const QString row = "row [spacing 30, widget QLabel, stretch, widget QLabel, stretch, widget "
                        "QLabel, stretch, widget QLabel, stretch]";
    QCOMPARE(layoutOf(bottom), QStringList({row, row}));
    for (int index : {0, 1}) {
        auto *box = qobject_cast<QBoxLayout *>(bottom->layout()->itemAt(index)->layout());
        for (int item = 1; item <= 7; item += 2) {
            QCOMPARE(box->stretch(item), item % 4 == 1 ? 1 : 2);
        }
    }
}

// This test carries no resources: a sheet that cannot be read leaves what there is.
void SignatureUpdateWindowTest::installsStyle()
{
    QVERIFY(!QFile::exists(":/res/style/style.qss"));
    qApp->setStyleSheet("#nothing { color: red }");
    SignatureUpdate::loadStyle();
    QCOMPARE(qApp->styleSheet(), QString("#nothing { color: red }"));
    qApp->setStyleSheet(QString());
}

void SignatureUpdateWindowTest::totalSize_data()
{
    QTest::addColumn<long long>("total");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<bool>("enables");
    QTest::newRow("nothing") << 0LL << "0 KB" << false;
    QTest::newRow("negative") << -5LL << "-5 KB" << false;
    QTest::newRow("one") << 1LL << "1 KB" << true;
    QTest::newRow("not scaled") << 123456789012LL << "123456789012 KB" << true;
}

void SignatureUpdateWindowTest::totalSize()
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

void SignatureUpdateWindowTest::remainingSize_data()
{
    QTest::addColumn<long long>("remaining");
    QTest::addColumn<QString>("shown");
    QTest::newRow("some") << 5000000000LL << "5000000000 KB";
    QTest::newRow("none") << 0LL << "0 KB";
    QTest::newRow("negative") << -1LL << "-1 KB";
}

void SignatureUpdateWindowTest::remainingSize()
{
    QFETCH(long long, remaining);
    report(0, 77, 0, 0, 0);
    report(0, remaining, 0, 0, 0);
    QTEST(figure("Remaining Size")->text(), "shown");
    QVERIFY(!button(window_.get(), "STOP")->isEnabled());
}

void SignatureUpdateWindowTest::speed_data()
{
    QTest::addColumn<int>("speed");
    QTest::addColumn<QString>("shown");
    QTest::newRow("some") << 12 << "12 KB/s";
    QTest::newRow("none") << 0 << "9 KB/s";
    QTest::newRow("negative") << -4 << "9 KB/s";
}

void SignatureUpdateWindowTest::speed()
{
    QFETCH(int, speed);
    report(0, 0, 0, 9, 0);
    report(0, 0, 0, speed, 0);
    QTEST(figure("Download Speed")->text(), "shown");
}

void SignatureUpdateWindowTest::smallPercentagesAreIgnored_data()
{
    QTest::addColumn<float>("percentage");
    for (float percentage : {0.0F, 0.5F, 1.0F, -3.0F, float(qQNaN())}) {
        QTest::addRow("%g", double(percentage)) << percentage;
    }
}

void SignatureUpdateWindowTest::smallPercentagesAreIgnored()
{
    QFETCH(float, percentage);
    report(0, 0, percentage, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("0 %"));
    QCOMPARE(statusLine(), QString("Please Wait! Checking for latest update."));
    report(0, 0, 10.4F, 0, 1); // the first that counts
    QVERIFY(isBusy());
}

void SignatureUpdateWindowTest::secondReportMakesBarDeterminate()
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

void SignatureUpdateWindowTest::repeatedSmallReportCounts()
{
    report(0, 0, 1.5F, 0, 1);
    report(0, 0, 1.6F, 0, 1);
    QCOMPARE(bar()->maximum(), 100);
    QCOMPARE(bar()->value(), 1);
}

void SignatureUpdateWindowTest::hundredIsIgnored()
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

void SignatureUpdateWindowTest::nearlyHundredIsShown()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 99.97F, 0, 6);
    QCOMPARE(figure("Percentage")->text(), QString("100.0 %"));
    QCOMPARE(bar()->value(), 99);
    report(0, 0, 42.5F, 0, 6); // 99 was stored, not 100 or more
    QCOMPARE(figure("Percentage")->text(), QString("42.5 %"));
}

void SignatureUpdateWindowTest::statusLineChangesAboveEighty_data()
{
    QTest::addColumn<float>("percentage");
    QTest::addColumn<QString>("line");
    QTest::newRow("80") << 80.0F << "Downloading update in progress...";
    QTest::newRow("80.9") << 80.9F << "Downloading update in progress...";
    QTest::newRow("81") << 81.0F << "Applying update in progress...";
    QTest::newRow("99") << 99.0F << "Applying update in progress...";
}

void SignatureUpdateWindowTest::statusLineChangesAboveEighty()
{
    QFETCH(float, percentage);
    report(0, 0, percentage, 0, 1);
    QTEST(statusLine(), "line");
}

void SignatureUpdateWindowTest::aboveHundredIsTheLast()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 101.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("101.0 %"));
    report(0, 0, 60.0F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("101.0 %"));
}

void SignatureUpdateWindowTest::hundredAndAHalfLeavesBar()
{
    report(0, 0, 50.0F, 0, 1);
    report(0, 0, 51.0F, 0, 1);
    report(0, 0, 100.5F, 0, 1);
    QCOMPARE(figure("Percentage")->text(), QString("100.5 %"));
    QCOMPARE(bar()->value(), 51);
    report(0, 0, 60.0F, 0, 1); // 100 is stored, which is not above it
    QCOMPARE(bar()->value(), 60);
}

void SignatureUpdateWindowTest::finalStatus_data()
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

void SignatureUpdateWindowTest::finalStatus()
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

void SignatureUpdateWindowTest::otherStatusChangesNoPanel_data()
{
    QTest::addColumn<int>("status");
    for (int status : {0, 1, 5, 6, 9, -1}) {
        QTest::addRow("%d", status) << status;
    }
}

void SignatureUpdateWindowTest::otherStatusChangesNoPanel()
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

void SignatureUpdateWindowTest::newVersionIsAnnouncedBeforeFinishView()
{
    bool finishedThen = true;
    connect(window_.get(), &SignatureUpdate::updateSigInfo, window_.get(),
            [&] { finishedThen = finishPanel()->isVisible(); });
    report(0, 0, 0, 0, 2);
    QVERIFY(!finishedThen);
    QVERIFY(finished());
}

void SignatureUpdateWindowTest::workersOutcomes_data()
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
void SignatureUpdateWindowTest::workersOutcomes()
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

void SignatureUpdateWindowTest::lateReportsStayBehindFinishView()
{
    report(0, 0, 0, 0, 8);
    report(500, 400, 20.0F, 8, 1);
    QVERIFY(finished());
    QCOMPARE(figure("Total Size")->text(), QString("500 KB"));
    QCOMPARE(figure("Percentage")->text(), QString("20.0 %"));
    QCOMPARE(outcome()->text(), QString("Update server is unreachable, Try again !"));
}

void SignatureUpdateWindowTest::finishClosesWindow()
{
    report(0, 0, 0, 0, 7);
    QVERIFY(click(button(window_.get(), "FINISH")));
    QVERIFY(!window_->isVisible());
    QVERIFY(ScriptedEngine::instance().calls("sig_update_stop").empty());
}

QTEST_MAIN(SignatureUpdateWindowTest)
#include "signatureupdate_window_test.moc"
