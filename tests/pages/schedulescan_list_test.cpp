// The list of scheduled scans: how it is built and what it shows.
#include "pages/pagesupport.h"
#include "pages/schedulescan.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/tables.h"
#include "support/widgets.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

const char kGetList[] = "libScheduleScan::GetScheduleList";
const char kTwo[] = "night#Daily at 02:00#Full Scan,noon#Every Friday at 12:00#Quick Scan";

} // namespace

class ScheduleScanListTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsAndSlotsInOrder();
    void pageIsLaidOut();
    void topIsLaidOut();
    void middleIsLaidOut();
    void bottomIsLaidOut();
    void tableIsBuilt();
    void backEmitsTheWayToScans();
    void addEmitsTheWayToTheEditor();
    void isFilledOnceAtConstruction();
    void fillsTable_data();
    void fillsTable();
    void emptyStoreLeavesOnlyAdd();
    void failureLeavesTableEmpty_data();
    void failureLeavesTableEmpty();
    void failureDiscardsWhatItFilled();
    void cellsAreCentred();
    void reloadKeepsNoSelection();

private:
    void listSchedules(const std::string &list, int count);
    QTableWidget *table() const { return page_->findChild<QTableWidget *>(); }
    bool enabled(const char *text) const { return button(page_.get(), text)->isEnabled(); }

    std::unique_ptr<ScheduleScan> page_;
};

void ScheduleScanListTest::init()
{
    ScriptedEngine::instance().reset();
    listSchedules(kTwo, 2);
}

void ScheduleScanListTest::listSchedules(const std::string &list, int count)
{
    ScriptedEngine::instance().answer(kGetList, {0, {list}, {count}});
    page_ = std::make_unique<ScheduleScan>(nullptr);
    page_->show();
}

void ScheduleScanListTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(signalsOf(ScheduleScan::staticMetaObject),
             QStringList({"ShowScanPage()", "ShowConfigureScheduleScanPage()",
                          "EditConfigureScheduleScan(QString,int,int,int,int)"}));
    QCOMPARE(slotsOf(ScheduleScan::staticMetaObject),
             QStringList({"btnRemoveSchClicked()", "btnEditSchClicked()"}));
}

void ScheduleScanListTest::pageIsLaidOut()
{
    QCOMPARE(page_->objectName(), QString("schedulescan"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(page_->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "stretch", "widget scheduelscanmiddle",
                          "stretch", "widget bottomschedulescan", "stretch"}));
    QVERIFY(isTight(page_.get()));
}

void ScheduleScanListTest::topIsLaidOut()
{
    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(top->size(), QSize(650, 50));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 120",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Schedule Scan"));
    QCOMPARE(alignmentOf(top->findChild<QLabel *>()), Qt::AlignHCenter);
    QCOMPARE(button(top, " < BACK ")->cursor().shape(), Qt::PointingHandCursor);
}

void ScheduleScanListTest::middleIsLaidOut()
{
    auto *middle = page_->findChild<QWidget *>("scheduelscanmiddle");
    QCOMPARE(middle->size(), QSize(650, 310));
    QCOMPARE(middle->contentsMargins(), QMargins(10, 0, 10, 0));
    QCOMPARE(layoutOf(middle), QStringList({"spacing 10", "widget btnScheduleScanBottom",
                                            "spacing 10", "widget QTableWidget"}));
    QVERIFY(isTight(middle));
    auto *caption = middle->findChild<QToolButton *>("btnScheduleScanBottom");
    QCOMPARE(caption->text(), QString("  Performs scans on user configured objects and files."));
    QCOMPARE(caption->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(caption->iconSize(), QSize(25, 25));
}

void ScheduleScanListTest::bottomIsLaidOut()
{
    auto *bottom = page_->findChild<QWidget *>("bottomschedulescan");
    QCOMPARE(bottom->size(), QSize(650, 50));
    QCOMPARE(bottom->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layoutOf(bottom),
             QStringList({"stretch", "widget QToolButton", "spacing 10", "widget QToolButton",
                          "spacing 10", "widget QToolButton", "spacing 10"}));
    QVERIFY(isTight(bottom));
    int left = 0;
    for (const char *text : {"REMOVE", "EDIT", "ADD"}) {
        const QAbstractButton *shown = button(bottom, text);
        QVERIFY(shown->x() > left);
        left = shown->x();
        QCOMPARE(shown->cursor().shape(), Qt::PointingHandCursor);
    }
}

void ScheduleScanListTest::tableIsBuilt()
{
    QCOMPARE(table()->minimumSize(), QSize(630, 240));
    QCOMPARE(table()->maximumSize(), QSize(630, 240));
    QCOMPARE(captionsOf(table()), QStringList({"Name", "Type", "Frequency"}));
    QCOMPARE(table()->columnWidth(0), 228);
    QCOMPARE(table()->columnWidth(1), 200);
    QCOMPARE(listTableFault(table()), QString());
}

void ScheduleScanListTest::backEmitsTheWayToScans()
{
    QSignalSpy spy(page_.get(), SIGNAL(ShowScanPage()));
    QVERIFY(click(button(page_.get(), " < BACK ")));
    QCOMPARE(spy.count(), 1);
}

void ScheduleScanListTest::addEmitsTheWayToTheEditor()
{
    QSignalSpy spy(page_.get(), SIGNAL(ShowConfigureScheduleScanPage()));
    QVERIFY(click(button(page_.get(), "ADD")));
    QCOMPARE(spy.count(), 1);
}

void ScheduleScanListTest::isFilledOnceAtConstruction()
{
    QCOMPARE(engineCalls(), QStringList(kGetList));
    QCOMPARE(contentOf(table()),
             QString("night|Full Scan|Daily at 02:00;noon|Quick Scan|Every Friday at 12:00"));
    QVERIFY(enabled("REMOVE"));
    QVERIFY(enabled("EDIT"));
    QVERIFY(enabled("ADD"));
}

void ScheduleScanListTest::fillsTable_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("shown");
    QTest::newRow("second and third are exchanged") << "a#b#c" << 1 << "a|c|b";
    QTest::newRow("record of two fields") << "a#b#c,d#e" << 1 << "a|c|b";
    QTest::newRow("record of two fields, counted") << "a#b#c,d#e" << 2 << "a|c|b;||";
    QTest::newRow("record of four fields") << "a#b#c#d,e#f#g" << 2 << "e|g|f;||";
    QTest::newRow("record of one field") << "a,b#c#d" << 2 << "b|d|c;||";
    QTest::newRow("gap between records") << "a#b#c,,d#e#f" << 3 << "a|c|b;d|f|e;||";
    QTest::newRow("leading comma") << ",a#b#c" << 1 << "a|c|b";
    QTest::newRow("trailing comma") << "a#b#c," << 1 << "a|c|b";
    QTest::newRow("empty fields are fields") << "##,a#b#c" << 2 << "||;a|c|b";
    QTest::newRow("count too large") << "a#b#c" << 3 << "a|c|b;||;||";
    QTest::newRow("count too small") << "a#b#c,d#e#f" << 1 << "a|c|b";
    QTest::newRow("count of nothing") << "a#b#c" << 0 << "";
    QTest::newRow("count below zero") << "a#b#c" << -1 << "";
    QTest::newRow("other script") << QString::fromUtf8("রাত#প্রতিদিন#পূর্ণ") << 1
                                  << QString::fromUtf8("রাত|পূর্ণ|প্রতিদিন");
}

void ScheduleScanListTest::fillsTable()
{
    QFETCH(QString, list);
    QFETCH(int, count);
    const Dialogs dialogs;
    listSchedules(list.toStdString(), count);
    QTEST(contentOf(table()), "shown");
    QCOMPARE(table()->rowCount(), qMax(count, 0));
    QCOMPARE(enabled("REMOVE"), count > 0);
    QCOMPARE(enabled("EDIT"), count > 0);
    QVERIFY(enabled("ADD"));
    page_->fillAllSchTabelData(); // rows of the last time do not pile up
    QTEST(contentOf(table()), "shown");
    QCOMPARE(dialogs.fault(), QString()); // what is skipped is skipped in silence
}

void ScheduleScanListTest::emptyStoreLeavesOnlyAdd()
{
    listSchedules("", 0);
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!enabled("REMOVE"));
    QVERIFY(!enabled("EDIT"));
    QVERIFY(enabled("ADD"));
}

void ScheduleScanListTest::failureLeavesTableEmpty_data()
{
    QTest::addColumn<int>("code");
    for (int code : {608, 604, 1, -1}) {
        QTest::addRow("%d", code) << code;
    }
}

void ScheduleScanListTest::failureLeavesTableEmpty()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kGetList, {code});
    const Dialogs dialogs;
    page_->fillAllSchTabelData();
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!enabled("REMOVE"));
    QVERIFY(!enabled("EDIT"));
    QVERIFY(enabled("ADD"));
}

void ScheduleScanListTest::failureDiscardsWhatItFilled()
{
    ScriptedEngine::instance().answer(kGetList, {608, {kTwo}, {2}});
    page_->fillAllSchTabelData();
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!enabled("REMOVE"));
    QVERIFY(!enabled("EDIT"));
}

void ScheduleScanListTest::cellsAreCentred()
{
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 3; ++column) {
            QCOMPARE(table()->item(row, column)->textAlignment(), int(Qt::AlignCenter));
        }
    }
}

// What was current goes with its row.
void ScheduleScanListTest::reloadKeepsNoSelection()
{
    clickCell(table(), 1, 1);
    QCOMPARE(table()->currentRow(), 1);
    page_->fillAllSchTabelData();
    QCOMPARE(table()->currentRow(), -1);
}

QTEST_MAIN(ScheduleScanListTest)
#include "schedulescan_list_test.moc"
