// The list of reports: its table, the viewer behind "View", deletion.
#include "pages/report.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/tables.h"
#include "support/widgets.h"

#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTextEdit>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

const char kGetList[] = "libReports::GetReportList";
const char kGetData[] = "libReports::GetReportData";
const char kDelete[] = "libReports::DeleteReport";
const char kTwo[] = "2026-11-21 14:05:09#Full Scan,2026-11-20 08:00:00#Quick Scan";

} // namespace

class ReportListTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsAndSlotsInOrder();
    void isLaidOutAsDesigned();
    void backEmitsTheWayHome();
    void tableIsBuiltAsDesigned();
    void fillsTable_data();
    void fillsTable();
    void failureLeavesTableEmpty_data();
    void failureLeavesTableEmpty();
    void asksForAllReports();
    void onlyViewColumnOpensViewer_data();
    void onlyViewColumnOpensViewer();
    void corruptReportIsSaid_data();
    void corruptReportIsSaid();
    void viewOfBlankRowIsHarmless();
    void deleteNeedsSelection();
    void deletesCurrentReport();
    void refusedDeletionIsSilent_data();
    void refusedDeletionIsSilent();

private:
    void listReports(const std::string &list, int count);
    QTableWidget *table() const { return page_->findChild<QTableWidget *>(); }
    QAbstractButton *deleteButton() const { return button(page_.get(), "DELETE"); }

    std::unique_ptr<Report> page_;
};

void ReportListTest::init()
{
    ScriptedEngine::instance().reset();
    listReports(kTwo, 2);
}

void ReportListTest::listReports(const std::string &list, int count)
{
    ScriptedEngine::instance().answer(kGetList, {0, {list}, {count}});
    page_ = std::make_unique<Report>(nullptr);
    page_->show();
    ScriptedEngine::instance().clearCalls();
}

void ReportListTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(signalsOf(Report::staticMetaObject),
             QStringList({"ShowHomePage()", "tblCellBtnClick(int)"}));
    QCOMPARE(slotsOf(Report::staticMetaObject),
             QStringList({"btnFromDateClicked()", "btnToDateClicked()", "fromDate(QDate)",
                          "toDate(QDate)", "btnApplyRptFilterClicked()",
                          "viewReportDetails(int,int)", "btnDeleteRptClicked()"}));
}

void ReportListTest::isLaidOutAsDesigned()
{
    QCOMPARE(page_->objectName(), QString("report"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "spacing 5", "widget scheduelscanmiddle",
                          "widget bottomschedulescan"}));
    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(top->geometry(), QRect(0, 5, 650, 50));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 170",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Scan Report"));
    auto *middle = page_->findChild<QWidget *>("scheduelscanmiddle");
    QCOMPARE(middle->geometry(), QRect(0, 60, 650, 310));
    QCOMPARE(middle->contentsMargins(), QMargins(10, 0, 10, 0));
    auto *bottom = page_->findChild<QWidget *>("bottomschedulescan");
    QCOMPARE(bottom->geometry(), QRect(0, 370, 650, 50));
    QCOMPARE(layoutOf(bottom), QStringList({"stretch", "widget QToolButton", "spacing 10"}));
    QCOMPARE(deleteButton()->cursor().shape(), Qt::PointingHandCursor);
}

void ReportListTest::backEmitsTheWayHome()
{
    QSignalSpy spy(page_.get(), SIGNAL(ShowHomePage()));
    QVERIFY(click(button(page_.get(), " < BACK ")));
    QCOMPARE(spy.count(), 1);
}

void ReportListTest::tableIsBuiltAsDesigned()
{
    QCOMPARE(table()->minimumSize(), QSize(630, 240));
    QCOMPARE(table()->maximumSize(), QSize(630, 240));
    QCOMPARE(captionsOf(table()), QStringList({"Date/Time", "Type", "View"}));
    QCOMPARE(table()->columnWidth(0), 278);
    QCOMPARE(table()->columnWidth(1), 150);
    QCOMPARE(listTableFault(table()), QString());
    for (int column = 0; column < 3; ++column) {
        QCOMPARE(table()->item(0, column)->textAlignment(), int(Qt::AlignCenter));
    }
}

void ReportListTest::fillsTable_data()
{
    QTest::addColumn<QString>("list");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("shown");
    QTest::newRow("two") << "a#Full Scan,b#Quick Scan" << 2 << "a|Full Scan|View;b|Quick Scan|View";
    QTest::newRow("trailing comma") << "a#x,b#y," << 2 << "a|x|View;b|y|View";
    QTest::newRow("leading comma") << ",a#x" << 1 << "a|x|View";
    QTest::newRow("three fields") << "a#x,b#y#z,c#w" << 3 << "a|x|View;c|w|View;||";
    QTest::newRow("one field") << "a,b#y" << 2 << "b|y|View;||";
    QTest::newRow("empty fields") << "#,b#y" << 2 << "||View;b|y|View";
    QTest::newRow("count too large") << "a#x" << 3 << "a|x|View;||;||";
    QTest::newRow("count too small") << "a#x,b#y" << 1 << "a|x|View";
    QTest::newRow("nothing") << "" << 0 << "";
    QTest::newRow("other script") << QString::fromUtf8("২১#পূর্ণ") << 1
                                  << QString::fromUtf8("২১|পূর্ণ|View");
}

void ReportListTest::fillsTable()
{
    QFETCH(QString, list);
    QFETCH(int, count);
    listReports(list.toStdString(), count);
    QTEST(contentOf(table()), "shown");
    QCOMPARE(table()->rowCount(), count);
    QCOMPARE(deleteButton()->isEnabled(), count > 0);
    page_->fillAllReportTabelData(); // rows of the last time do not pile up
    QTEST(contentOf(table()), "shown");
}

void ReportListTest::failureLeavesTableEmpty_data()
{
    QTest::addColumn<int>("code");
    for (int code : {201, 204, 205, 206, -1, 1}) {
        QTest::addRow("%d", code) << code;
    }
}

// A reload says nothing, whatever the code; the count alone decides about DELETE.
void ReportListTest::failureLeavesTableEmpty()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kGetList, {code, {kTwo}, {0}});
    const Dialogs dialogs;
    page_->fillAllReportTabelData();
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!deleteButton()->isEnabled());
    ScriptedEngine::instance().answer(kGetList, {code, {kTwo}, {2}});
    page_->fillAllReportTabelData();
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(deleteButton()->isEnabled());
}

void ReportListTest::asksForAllReports()
{
    page_->fillAllReportTabelData();
    const auto calls = ScriptedEngine::instance().calls(kGetList);
    QCOMPARE(calls.size(), size_t(1));
    QCOMPARE(calls[0].arguments, std::vector<std::string>({"", ""}));
}

void ReportListTest::onlyViewColumnOpensViewer_data()
{
    QTest::addColumn<int>("column");
    QTest::newRow("Date/Time") << 0;
    QTest::newRow("Type") << 1;
    QTest::newRow("View") << 2;
}

void ReportListTest::onlyViewColumnOpensViewer()
{
    QFETCH(int, column);
    ScriptedEngine::instance().answer(kGetData,
                                      {0, {"2026-11-20", "08:00:00", "Infected: 0", "Quick Scan"}});
    Dialogs dialogs;
    if (column == 2) {
        dialogs.expectDialog([](QDialog *viewer) {
            QCOMPARE(viewer->metaObject()->className(), "ViewReport");
            QCOMPARE(viewer->parentWidget(), nullptr);
            QCOMPARE(viewer->findChild<QTextEdit *>("rptDetails")->toPlainText(),
                     QString("Infected: 0"));
            QStringList texts;
            for (const QLabel *label :
                 viewer->findChild<QWidget *>("dateTime")->findChildren<QLabel *>()) {
                texts << label->text();
            }
            QCOMPARE(texts, QStringList({"Date:", "2026-11-20", "Time:", "08:00:00"}));
            QVERIFY(click(button(viewer, "CLOSE")));
        });
    }
    clickCell(table(), 1, column);
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(table()->currentRow(), 1);
    QCOMPARE(table()->selectionModel()->selectedRows().size(), 1);
    const auto calls = ScriptedEngine::instance().calls(kGetData);
    QCOMPARE(calls.size(), size_t(column == 2 ? 1 : 0));
    if (column == 2) {
        QCOMPARE(calls[0].arguments, std::vector<std::string>{"2026-11-20 08:00:00"});
    }
}

void ReportListTest::corruptReportIsSaid_data()
{
    QTest::addColumn<int>("code");
    for (int code : {203, 201, 1, -1}) {
        QTest::addRow("%d", code) << code;
    }
}

void ReportListTest::corruptReportIsSaid()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kGetData, {code});
    Dialogs dialogs;
    dialogs.expectBox();
    clickCell(table(), 0, 2);
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Report file is corrupted.", page_.get()),
             QString());
}

void ReportListTest::viewOfBlankRowIsHarmless()
{
    listReports("a#x,malformed", 2);
    Dialogs dialogs;
    dialogs.expectBox();
    clickCell(table(), 1, 2);
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Report file is corrupted.", page_.get()),
             QString());
    QCOMPARE(ScriptedEngine::instance().calls(kGetData)[0].arguments, std::vector<std::string>{""});
}

void ReportListTest::deleteNeedsSelection()
{
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(deleteButton()));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Select a report to delete.", page_.get()),
             QString());
    QCOMPARE(ScriptedEngine::instance().calls().size(), size_t(0));
}

// There is no question first; the list is reloaded before the success is told.
void ReportListTest::deletesCurrentReport()
{
    ScriptedEngine::instance().answer(kGetList, {0, {"2026-11-21 14:05:09#Full Scan"}, {1}});
    clickCell(table(), 1, 0);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(deleteButton()));
    QCOMPARE(
        boxFault(dialogs, QMessageBox::Information, "Report deleted successfully.", page_.get()),
        QString());
    const auto calls = ScriptedEngine::instance().calls();
    QCOMPARE(calls.size(), size_t(2));
    QCOMPARE(calls[0].function, std::string(kDelete));
    QCOMPARE(calls[0].arguments, std::vector<std::string>{"2026-11-20 08:00:00"});
    QCOMPARE(calls[1].function, std::string(kGetList));
    QCOMPARE(contentOf(table()), QString("2026-11-21 14:05:09|Full Scan|View"));
}

void ReportListTest::refusedDeletionIsSilent_data()
{
    corruptReportIsSaid_data();
}

void ReportListTest::refusedDeletionIsSilent()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kDelete, {code});
    clickCell(table(), 0, 1);
    const Dialogs dialogs;
    QVERIFY(click(deleteButton()));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(ScriptedEngine::instance().calls().size(), size_t(1));
    QCOMPARE(table()->rowCount(), 2);
}

QTEST_MAIN(ReportListTest)
#include "reportlist_test.moc"
