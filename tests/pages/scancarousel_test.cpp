// The scan page's looks: its carousel, its shortcuts and the date of the last full scan.
#include "pages/scan.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QGridLayout>
#include <QLabel>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::click;
using talo::test::layoutOf;
using talo::test::ScriptedEngine;

namespace
{

const char kLastFullScan[] = "libLastFullScanDetails::GetLastFullScanDetails";
const char *const kNames[] = {"btnFullScanBottom", "btnQuickScanBottom", "btnCustomScanBottom",
                              "btnScheduleScanBottom"};

} // namespace

class ScanCarouselTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsAndSlotsInOrder();
    void isLaidOutAsDesigned();
    void topBandLeadsHome();
    void slides_data();
    void slides();
    void bandButtonsAreSized();
    void startsOnFullScan();
    void arrowsWrapAround_data();
    void arrowsWrapAround();
    void scheduleLeadsToItsPage();
    void tellsLastFullScan_data();
    void tellsLastFullScan();
    void asksForLastFullScanOnce();

private:
    QStackedWidget *slideStack() const { return page_->findChild<QStackedWidget *>(); }
    QWidget *band() const { return page_->layout()->itemAt(5)->widget(); }
    QString bandButtons() const;

    std::unique_ptr<Scan> page_;
};

void ScanCarouselTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Scan>(nullptr);
    page_->show();
}

// The texts in columns 0 to 3 of the band, "-" where there is none, then those that are hidden.
QString ScanCarouselTest::bandButtons() const
{
    const auto *grid = qobject_cast<QGridLayout *>(band()->layout());
    QStringList found;
    for (int column = 0; column <= 3; ++column) {
        QLayoutItem *item = grid->itemAtPosition(0, column);
        auto *button = item ? qobject_cast<QToolButton *>(item->widget()) : nullptr;
        found << (button && button->isVisible() ? button->text() : "-");
    }
    for (QToolButton *button : band()->findChildren<QToolButton *>()) {
        if (!button->isVisible()) {
            found << "hidden " + button->text();
        }
    }
    return found.join(", ");
}

void ScanCarouselTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(talo::test::signalsOf(Scan::staticMetaObject),
             QStringList({"ShowHomePage()", "ShowScheduleScanPage()"}));
    QCOMPARE(talo::test::slotsOf(Scan::staticMetaObject),
             QStringList({"btnLeftNavClicked()", "btnRightNavClicked()", "startFullScan()",
                          "startQuickScan()", "startCustomScan()", "executeCustomScan()",
                          "selectedItem(QModelIndex)"}));
}

void ScanCarouselTest::isLaidOutAsDesigned()
{
    QCOMPARE(page_->objectName(), QString("scan"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "stretch", "widget lblLastFullScanInfo",
                          "widget scanmiddle", "widget QWidget"}));
    QCOMPARE(page_->layout()->itemAt(3)->alignment(), Qt::AlignRight);
    auto *middle = page_->findChild<QWidget *>("scanmiddle");
    QCOMPARE(layoutOf(middle),
             QStringList({"spacing 10", "widget btnLeftNav", "stretch", "widget QStackedWidget",
                          "stretch", "widget btnRightNav", "spacing 10"}));
    QCOMPARE(middle->geometry(), QRect(0, 120, 650, 150));
    QCOMPARE(band()->geometry(), QRect(0, 270, 650, 150));
    QCOMPARE(slideStack()->minimumSize(), QSize(500, 150));
    QCOMPARE(slideStack()->maximumSize(), QSize(500, 150));
    for (const char *name : {"btnLeftNav", "btnRightNav"}) {
        auto *arrow = page_->findChild<QToolButton *>(name);
        QCOMPARE(arrow->iconSize(), QSize(30, 30));
        QCOMPARE(arrow->cursor().shape(), Qt::PointingHandCursor);
    }
}

void ScanCarouselTest::topBandLeadsHome()
{
    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(top->geometry(), QRect(0, 5, 650, 50));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 120",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->layout()->itemAt(3)->alignment(), Qt::AlignHCenter);
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Choose Scan Type"));
    QAbstractButton *back = talo::test::button(top, " < BACK ");
    QCOMPARE(back->cursor().shape(), Qt::PointingHandCursor);
    QSignalSpy spy(page_.get(), SIGNAL(ShowHomePage()));
    QVERIFY(click(back));
    QCOMPARE(spy.count(), 1);
}

void ScanCarouselTest::slides_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("details");
    QTest::newRow("full") << 0 << "objFullScanSlide"
                          << "Full Scan"
                          << "Scan your PC for all available files and folders.";
    QTest::newRow("quick") << 1 << "objQuickScanSlide"
                           << "Quick Scan"
                           << "Checks your PC for threat activity in it's processes, \n"
                              "critical files, and other susceptible areas.";
    QTest::newRow("custom") << 2 << "objCustomScanSlide"
                            << "Custom Scan"
                            << "Multiple scanning options that checks your entire\nPC or only "
                               "specific areas like your critical system\nfiles and folders.";
    QTest::newRow("schedule") << 3 << "objScheduleScanSlide"
                              << "Schedule Scan"
                              << "Configure date and time when you want the scan\nto begin.";
}

void ScanCarouselTest::slides()
{
    QFETCH(int, index);
    QCOMPARE(slideStack()->count(), 4);
    const QWidget *slide = slideStack()->widget(index);
    QTEST(slide->objectName(), "name");
    QTEST(slide->findChild<QLabel *>("lblScanInfo")->text(), "title");
    QTEST(slide->findChild<QLabel *>("lblSubScanInfo")->text(), "details");
    auto *button = slide->findChild<QToolButton *>(kNames[index]);
    QCOMPARE(button->minimumSize(), QSize(70, 70));
    QCOMPARE(button->maximumSize(), QSize(70, 70));
    QCOMPARE(button->iconSize(), QSize(70, 70));
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(button->text(), QString());
    QCOMPARE(layoutOf(slide),
             QStringList({"stretch", QString("widget ") + kNames[index], "stretch",
                          "column [stretch, widget lblScanInfo, spacing 5, widget lblSubScanInfo, "
                          "stretch]",
                          "stretch"}));
}

void ScanCarouselTest::bandButtonsAreSized()
{
    const auto found = band()->findChildren<QToolButton *>();
    QCOMPARE(found.size(), 4);
    for (QToolButton *button : found) {
        QCOMPARE(button->minimumSize(), QSize(120, 70));
        QCOMPARE(button->maximumSize(), QSize(120, 70));
        QCOMPARE(button->iconSize(), QSize(50, 50));
        QCOMPARE(button->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        const QString kind = button->text().remove(' ');
        QCOMPARE(button->objectName(), "btn" + kind + "Bottom");
    }
}

void ScanCarouselTest::startsOnFullScan()
{
    QCOMPARE(slideStack()->currentIndex(), 0);
    QCOMPARE(bandButtons(), QString("-, Quick Scan, Custom Scan, Schedule Scan, hidden Full Scan"));
}

void ScanCarouselTest::arrowsWrapAround_data()
{
    QTest::addColumn<QString>("arrow");
    QTest::addColumn<QList<int>>("visited");
    QTest::newRow("right") << "btnRightNav" << QList<int>{1, 2, 3, 0, 1};
    QTest::newRow("left") << "btnLeftNav" << QList<int>{3, 2, 1, 0, 3};
}

void ScanCarouselTest::arrowsWrapAround()
{
    const QStringList shown = {"-, Quick Scan, Custom Scan, Schedule Scan, hidden Full Scan",
                               "-, Custom Scan, Schedule Scan, Full Scan, hidden Quick Scan",
                               "-, Schedule Scan, Full Scan, Quick Scan, hidden Custom Scan",
                               "-, Full Scan, Quick Scan, Custom Scan, hidden Schedule Scan"};
    QFETCH(QString, arrow);
    QFETCH(QList<int>, visited);
    for (int index : qAsConst(visited)) {
        QVERIFY(click(page_->findChild<QToolButton *>(arrow)));
        QCOMPARE(slideStack()->currentIndex(), index);
        QCOMPARE(bandButtons(), shown[index]);
        QVERIFY(page_->findChild<QToolButton *>("btnLeftNav")->isVisible());
        QVERIFY(page_->findChild<QToolButton *>("btnRightNav")->isVisible());
    }
}

void ScanCarouselTest::scheduleLeadsToItsPage()
{
    QSignalSpy spy(page_.get(), SIGNAL(ShowScheduleScanPage()));
    QVERIFY(click(talo::test::button(band(), "Schedule Scan")));
    QCOMPARE(spy.count(), 1);
    QVERIFY(click(page_->findChild<QToolButton *>("btnLeftNav")));
    QVERIFY(click(slideStack()->currentWidget()->findChild<QToolButton *>()));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(ScriptedEngine::instance().calls("IsProcessRunning").size(), size_t(0));
}

void ScanCarouselTest::tellsLastFullScan_data()
{
    QTest::addColumn<QString>("engine");
    QTest::addColumn<QString>("shown");
    QTest::newRow("date") << "21 Nov 2026 14:05"
                          << "Last full scan on : 21 Nov 2026 14:05 ";
    QTest::newRow("blanks around") << "  today "
                                   << "Last full scan on :   today  ";
    QTest::newRow("other script") << QString::fromUtf8("২১ নভেম্বর")
                                  << QString::fromUtf8("Last full scan on : ২১ নভেম্বর ");
    QTest::newRow("none") << ""
                          << "";
    QTest::newRow("only blanks") << "   "
                                 << "";
    QTest::newRow("only white space") << " \t\n "
                                      << "";
    QTest::newRow("whole buffer") << QString(99, 'x')
                                  << "Last full scan on : " + QString(99, 'x') + " ";
}

void ScanCarouselTest::tellsLastFullScan()
{
    QFETCH(QString, engine);
    ScriptedEngine::instance().answer(kLastFullScan, {0, {engine.toStdString()}});
    const Scan page(nullptr);
    QTEST(page.findChild<QLabel *>("lblLastFullScanInfo")->text(), "shown");
}

void ScanCarouselTest::asksForLastFullScanOnce()
{
    ScriptedEngine::instance().answer(kLastFullScan, {0, {"later"}});
    page_->hide();
    page_->show();
    QVERIFY(click(page_->findChild<QToolButton *>("btnRightNav")));
    QCOMPARE(ScriptedEngine::instance().calls(kLastFullScan).size(), size_t(1));
    QCOMPARE(page_->findChild<QLabel *>("lblLastFullScanInfo")->text(), QString());
}

QTEST_MAIN(ScanCarouselTest)
#include "scancarousel_test.moc"
