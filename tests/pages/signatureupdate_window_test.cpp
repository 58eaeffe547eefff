// The window of a signature update: how it is built.
#include "pages/shownupdate.h"
#include "pages/sigupdatethread.h"
#include "support/widgets.h"

#include <QApplication>
#include <QLayout>
#include <QScreen>
#include <QToolButton>
#include <QtTest>

using namespace talo::test;

class SignatureUpdateWindowTest : public ShownUpdate
{
    Q_OBJECT

private slots:
    void declaresSignalsAndSlotsInOrder();
    void isBuiltAsDesigned();
    void topIsBuiltAsDesigned();
    void progressPanelIsBuiltAsDesigned();
    void finishPanelIsBuiltAsDesigned();
    void bottomIsBuiltAsDesigned();
    void installsStyle();
};

void SignatureUpdateWindowTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(signalsOf(SignatureUpdate::staticMetaObject),
             QStringList({"updateSigInfo()", "updateTotalSize(qlonglong)",
                          "updateRemainingSize(qlonglong)", "updatePercentage(float)",
                          "updateDownloadSpeed(int)", "updateStatus(int)"}));
    QCOMPARE(slotsOf(SignatureUpdate::staticMetaObject),
             QStringList({"updateTotalSizeStr(qlonglong)", "updateRemainingSizeStr(qlonglong)",
                          "updatePercentageStr(float)", "updateDownloadSpeedStr(int)",
                          "updateStatusStr(int)", "signatureUpdateComplet()",
                          "handleSignatureUpdateRetVal(int)", "btnStopSigUpdateClicked()",
                          "handleSigUpdateCommPort(int)", "btnCancelSigUpdateClicked()",
                          "handleNoInternetConnection()"}));
    QCOMPARE(signalsOf(SignatureUpdateThread::staticMetaObject),
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

QTEST_MAIN(SignatureUpdateWindowTest)
#include "signatureupdate_window_test.moc"
