// The list of scheduled scans: REMOVE and EDIT.
#include "pages/pagesupport.h"
#include "pages/schedulescan.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/tables.h"
#include "support/widgets.h"

#include <QSignalSpy>
#include <QTableWidget>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

const char kGetList[] = "libScheduleScan::GetScheduleList";
const char kGetDetails[] = "libScheduleScan::GetScheduleScanDetails";
const char kRemove[] = "libScheduleScan::RemoveScheduleScan";
const char kNight[] = "night#Daily at 02:00#Full Scan";
const char kNightAndNoon[] = "night#Daily at 02:00#Full Scan,noon#Every Friday at 12:00#Quick Scan";
const char *const kEditSignal = SIGNAL(EditConfigureScheduleScan(QString, int, int, int, int));

} // namespace

class ScheduleScanActionsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void nothingCurrentIsSaid_data();
    void nothingCurrentIsSaid();
    void removesCurrentWithoutAsking();
    void removalOfTheLastDisablesButtons();
    void nameGoesAsUtf8();
    void refusedRemovalIsSilent_data();
    void refusedRemovalIsSilent();
    void editHandsOnTheDetails_data();
    void editHandsOnTheDetails();
    void failedDetailsAreSilent_data();
    void failedDetailsAreSilent();
    void blankRowHasAnEmptyName();

private:
    void listSchedules(const std::string &list, int count);
    QTableWidget *table() const { return page_->findChild<QTableWidget *>(); }
    void clickRow(int row) const { clickCell(table(), row, 1); }
    bool press(const char *text) const { return click(button(page_.get(), text)); }

    std::unique_ptr<ScheduleScan> page_;
};

void ScheduleScanActionsTest::init()
{
    ScriptedEngine::instance().reset();
    listSchedules(kNightAndNoon, 2);
}

void ScheduleScanActionsTest::listSchedules(const std::string &list, int count)
{
    ScriptedEngine::instance().answer(kGetList, {0, {list}, {count}});
    page_ = std::make_unique<ScheduleScan>(nullptr);
    page_->show();
    ScriptedEngine::instance().clearCalls();
}

void ScheduleScanActionsTest::nothingCurrentIsSaid_data()
{
    QTest::addColumn<QString>("pressed");
    QTest::addColumn<QString>("told");
    QTest::newRow("REMOVE") << "REMOVE"
                            << "Select a schedule scan item to remove.";
    QTest::newRow("EDIT") << "EDIT"
                          << "Select a schedule scan item to edit.";
}

void ScheduleScanActionsTest::nothingCurrentIsSaid()
{
    QFETCH(QString, pressed);
    QFETCH(QString, told);
    QSignalSpy edits(page_.get(), kEditSignal);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press(qPrintable(pressed)));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, told, page_.get()), QString());
    QCOMPARE(engineCalls(), QStringList());
    QCOMPARE(edits.count(), 0);
}

// The box comes before the reload: behind it the removed schedule is still listed.
void ScheduleScanActionsTest::removesCurrentWithoutAsking()
{
    ScriptedEngine::instance().answer(kGetList, {0, {kNight}, {1}});
    clickRow(1);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("REMOVE"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ noon ] removed.", page_.get()),
             QString());
    QCOMPARE(engineCalls(), QStringList({QString(kRemove) + " noon", kGetList}));
    QCOMPARE(table()->rowCount(), 1);
    QCOMPARE(table()->item(0, 0)->text(), QString("night"));
}

void ScheduleScanActionsTest::removalOfTheLastDisablesButtons()
{
    listSchedules(kNight, 1);
    ScriptedEngine::instance().answer(kGetList, {0, {""}, {0}});
    clickRow(0);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("REMOVE"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ night ] removed.", page_.get()),
             QString());
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!button(page_.get(), "REMOVE")->isEnabled());
    QVERIFY(!button(page_.get(), "EDIT")->isEnabled());
    QVERIFY(button(page_.get(), "ADD")->isEnabled());
}

void ScheduleScanActionsTest::nameGoesAsUtf8()
{
    const QString name = QString::fromUtf8("রাতের");
    listSchedules(name.toStdString() + "#Daily at 02:00#Full Scan", 1);
    clickRow(0);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("REMOVE"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ " + name + " ] removed.", page_.get()),
             QString());
    QCOMPARE(ScriptedEngine::instance().calls(kRemove)[0].arguments,
             std::vector<std::string>{name.toStdString()});
}

void ScheduleScanActionsTest::refusedRemovalIsSilent_data()
{
    QTest::addColumn<int>("code");
    for (int code : {604, 608, 1, -1}) {
        QTest::addRow("%d", code) << code;
    }
}

void ScheduleScanActionsTest::refusedRemovalIsSilent()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kRemove, {code});
    clickRow(0);
    const Dialogs dialogs;
    QVERIFY(press("REMOVE"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList(QString(kRemove) + " night")); // and no reload
    QCOMPARE(table()->rowCount(), 2);
}

void ScheduleScanActionsTest::editHandsOnTheDetails_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("weekday");
    QTest::addColumn<int>("hour");
    QTest::addColumn<int>("minute");
    QTest::newRow("daily quick scan") << 1 << 8 << 0 << 0;
    QTest::newRow("full scan on Sundays") << 2 << 0 << 23 << 59;
    QTest::newRow("quick scan on Saturdays") << 1 << 6 << 14 << 5;
}

void ScheduleScanActionsTest::editHandsOnTheDetails()
{
    QFETCH(int, type);
    QFETCH(int, weekday);
    QFETCH(int, hour);
    QFETCH(int, minute);
    ScriptedEngine::instance().answer(kGetDetails, {0, {}, {type, weekday, hour, minute}});
    QSignalSpy edits(page_.get(), kEditSignal);
    clickRow(1);
    const Dialogs dialogs;
    QVERIFY(press("EDIT"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList(QString(kGetDetails) + " noon"));
    QCOMPARE(edits.count(), 1);
    QCOMPARE(edits[0], QVariantList({"noon", type, weekday, hour, minute}));
}

void ScheduleScanActionsTest::failedDetailsAreSilent_data()
{
    refusedRemovalIsSilent_data();
}

void ScheduleScanActionsTest::failedDetailsAreSilent()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kGetDetails, {code, {}, {1, 8, 0, 0}});
    QSignalSpy edits(page_.get(), kEditSignal);
    clickRow(0);
    const Dialogs dialogs;
    QVERIFY(press("EDIT"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(edits.count(), 0);
    QCOMPARE(table()->rowCount(), 2);
}

void ScheduleScanActionsTest::blankRowHasAnEmptyName()
{
    listSchedules("night#Daily at 02:00#Full Scan,malformed", 2);
    ScriptedEngine::instance().answer(kRemove, {604});
    ScriptedEngine::instance().answer(kGetDetails, {604});
    clickRow(1);
    const Dialogs dialogs;
    QVERIFY(press("REMOVE"));
    QVERIFY(press("EDIT"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList({QString(kRemove) + " ", QString(kGetDetails) + " "}));
}

QTEST_MAIN(ScheduleScanActionsTest)
#include "schedulescan_actions_test.moc"
