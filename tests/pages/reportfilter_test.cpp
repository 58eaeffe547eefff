// The filter of the report list and its calendars.
#include "pages/report.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QCalendarWidget>
#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QTableView>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::button;
using talo::test::click;
using talo::test::Dialogs;
using talo::test::ScriptedEngine;

namespace
{

const char kGetList[] = "libReports::GetReportList";
enum Bound { From, To };

QString text(const QDate &date)
{
    return QString("%1:%2:%3").arg(date.year()).arg(date.month()).arg(date.day());
}

// Clicks a day of the month that the calendar shows. The month's neighbours have the same numbers
// in the first and last rows.
void clickDay(const QDialog *dialog, const QDate &date)
{
    auto *calendar = dialog->findChild<QCalendarWidget *>();
    calendar->setCurrentPage(date.year(), date.month());
    auto *days = calendar->findChild<QTableView *>();
    QModelIndex found;
    for (int row = 0; row < days->model()->rowCount(); ++row) {
        for (int column = 0; column < days->model()->columnCount(); ++column) {
            const QModelIndex index = days->model()->index(row, column);
            const bool wanted = index.data().toString() == QString::number(date.day());
            if (wanted && (date.day() > 15 || !found.isValid())) {
                found = index;
            }
        }
    }
    QVERIFY(found.isValid());
    QTest::mouseClick(days->viewport(), Qt::LeftButton, Qt::NoModifier,
                      days->visualRect(found).center());
}

} // namespace

class ReportFilterTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void rowIsLaidOutAsDesigned();
    void startsWithToday();
    void calendarsAreBuiltAsDesigned_data();
    void calendarsAreBuiltAsDesigned();
    void clickPicksDay_data();
    void clickPicksDay();
    void earlyDaysCannotBePicked();
    void closedCalendarKeepsDate();
    void passesDatesToEngine();
    void datesSurviveReload();
    void fillsTable();
    void tellsResult_data();
    void tellsResult();
    void deleteKeepsItsState();

private:
    QList<QWidget *> dateWidgets() const { return page_->findChildren<QWidget *>("datewidget"); }
    QLabel *label(Bound bound) const { return dateWidgets()[bound]->findChild<QLabel *>(); }
    bool openCalendar(Bound bound) const;
    void pick(Bound bound, const QDate &date) const;
    QAbstractButton *apply() const { return button(page_.get(), "APPLY"); }
    QTableWidget *table() const { return page_->findChild<QTableWidget *>(); }

    std::unique_ptr<Report> page_;
};

Q_DECLARE_METATYPE(Bound)

void ReportFilterTest::init()
{
    ScriptedEngine::instance().reset();
    ScriptedEngine::instance().answer(kGetList, {0, {"a#x,b#y"}, {2}});
    page_ = std::make_unique<Report>(nullptr);
    page_->show();
    ScriptedEngine::instance().clearCalls();
}

bool ReportFilterTest::openCalendar(Bound bound) const
{
    return click(dateWidgets()[bound]->findChild<QToolButton *>("btnCalIcon"));
}

void ReportFilterTest::pick(Bound bound, const QDate &date) const
{
    Dialogs dialogs;
    dialogs.expectDialog([date](QDialog *dialog) {
        clickDay(dialog, date);
        QVERIFY(!dialog->isVisible());
    });
    QVERIFY(openCalendar(bound));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(label(bound)->text(), text(date));
}

void ReportFilterTest::rowIsLaidOutAsDesigned()
{
    const QStringList items =
        talo::test::layoutOf(page_->findChild<QWidget *>("scheduelscanmiddle"));
    QCOMPARE(items,
             QStringList({"spacing 10",
                          "row [stretch, widget lblFromStyle, spacing 5, widget datewidget, "
                          "spacing 40, widget lblFromStyle, spacing 5, widget datewidget, stretch, "
                          "widget btnApplyRptFilter, spacing 10]",
                          "spacing 10", "widget QTableWidget"}));
    QStringList captions;
    for (const QLabel *caption : page_->findChildren<QLabel *>("lblFromStyle")) {
        captions << caption->text();
    }
    QCOMPARE(captions, QStringList({"From:", "To:"}));
    QCOMPARE(apply()->objectName(), QString("btnApplyRptFilter"));
    QCOMPARE(apply()->cursor().shape(), Qt::PointingHandCursor);
    for (QWidget *box : dateWidgets()) {
        QCOMPARE(box->minimumSize(), QSize(150, 30));
        QCOMPARE(box->maximumSize(), QSize(150, 30));
        QCOMPARE(box->layout()->itemAt(0)->alignment(), Qt::AlignHCenter);
        auto *icon = box->findChild<QToolButton *>("btnCalIcon");
        QCOMPARE(icon->toolButtonStyle(), Qt::ToolButtonIconOnly);
        QCOMPARE(icon->iconSize(), QSize(25, 30));
    }
}

void ReportFilterTest::startsWithToday()
{
    const QDate before = QDate::currentDate();
    const Report page(nullptr);
    const QDate after = QDate::currentDate();
    for (const QWidget *box : page.findChildren<QWidget *>("datewidget")) {
        const QString shown = box->findChild<QLabel *>()->text();
        QVERIFY(shown == text(before) || shown == text(after));
    }
}

void ReportFilterTest::calendarsAreBuiltAsDesigned_data()
{
    QTest::addColumn<Bound>("bound");
    QTest::newRow("from") << From;
    QTest::newRow("to") << To;
}

void ReportFilterTest::calendarsAreBuiltAsDesigned()
{
    QFETCH(Bound, bound);
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *dialog) {
        QCOMPARE(dialog->parentWidget(), page_.get());
        QCOMPARE(dialog->size(), QSize(350, 200));
        QVERIFY(dialog->autoFillBackground());
        QCOMPARE(dialog->layout(), nullptr);
        auto *calendar = dialog->findChild<QCalendarWidget *>();
        QVERIFY(calendar->isGridVisible());
        QCOMPARE(calendar->minimumDate(), QDate(2017, 7, 3));
        dialog->close();
    });
    QVERIFY(openCalendar(bound));
    QCOMPARE(dialogs.fault(), QString());
}

void ReportFilterTest::clickPicksDay_data()
{
    QTest::addColumn<QDate>("date");
    QTest::newRow("no leading zeros") << QDate(2019, 7, 3);
    QTest::newRow("two digits") << QDate(2024, 12, 31);
    QTest::newRow("leap day") << QDate(2024, 2, 29);
    QTest::newRow("first day allowed") << QDate(2017, 7, 3);
}

void ReportFilterTest::clickPicksDay()
{
    QFETCH(QDate, date);
    const QString untouched = label(To)->text();
    pick(From, date);
    QCOMPARE(label(To)->text(), untouched);
    pick(To, date);
}

void ReportFilterTest::earlyDaysCannotBePicked()
{
    const QString before = label(From)->text();
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *dialog) {
        clickDay(dialog, QDate(2017, 7, 2));
        QVERIFY(dialog->isVisible());
        dialog->close();
    });
    QVERIFY(openCalendar(From));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(label(From)->text(), before);
}

void ReportFilterTest::closedCalendarKeepsDate()
{
    pick(To, QDate(2020, 1, 5));
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *dialog) { dialog->close(); });
    QVERIFY(openCalendar(To));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(label(To)->text(), QString("2020:1:5"));
}

void ReportFilterTest::passesDatesToEngine()
{
    pick(From, QDate(2019, 7, 3));
    pick(To, QDate(2024, 12, 31));
    QVERIFY(click(apply()));
    const auto calls = ScriptedEngine::instance().calls(kGetList);
    QCOMPARE(calls.size(), size_t(1));
    QCOMPARE(calls[0].arguments, std::vector<std::string>({"2019:7:3", "2024:12:31"}));
}

void ReportFilterTest::datesSurviveReload()
{
    pick(From, QDate(2019, 7, 3));
    page_->fillAllReportTabelData();
    QCOMPARE(label(From)->text(), QString("2019:7:3"));
    QCOMPARE(ScriptedEngine::instance().calls(kGetList)[0].arguments,
             std::vector<std::string>({"", ""}));
}

void ReportFilterTest::fillsTable()
{
    ScriptedEngine::instance().answer(kGetList, {0, {"c#z,bad,"}, {2}});
    const Dialogs dialogs;
    QVERIFY(click(apply()));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(table()->rowCount(), 2);
    QCOMPARE(table()->item(0, 0)->text(), QString("c"));
    QCOMPARE(table()->item(0, 1)->text(), QString("z"));
    QCOMPARE(table()->item(0, 2)->text(), QString("View"));
    QCOMPARE(table()->item(1, 0), nullptr);
}

void ReportFilterTest::tellsResult_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("inverted") << 205 << "Start date must be less than End date.";
    QTest::newRow("none") << 204 << "No Reports Found";
    QTest::newRow("not reached") << 201 << "";
    QTest::newRow("no date") << 206 << "";
    QTest::newRow("unknown") << -1 << "";
}

void ReportFilterTest::tellsResult()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    ScriptedEngine::instance().answer(kGetList, {code, {""}, {0}});
    Dialogs dialogs;
    if (!text.isEmpty()) {
        dialogs.expectBox();
    }
    QVERIFY(click(apply()));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(table()->rowCount(), 0);
    if (!text.isEmpty()) {
        QCOMPARE(boxFault(dialogs, QMessageBox::Warning, text, page_.get()), QString());
    }
}

void ReportFilterTest::deleteKeepsItsState()
{
    QAbstractButton *remove = button(page_.get(), "DELETE");
    ScriptedEngine::instance().answer(kGetList, {204, {""}, {0}});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(apply()));
    QVERIFY(remove->isEnabled());
    dialogs.expectBox();
    QVERIFY(click(remove));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(dialogs.boxes().last().text, QString("Select a report to delete."));
    page_->fillAllReportTabelData();
    QVERIFY(!remove->isEnabled());
    ScriptedEngine::instance().answer(kGetList, {0, {"a#x"}, {1}});
    QVERIFY(click(apply()));
    QCOMPARE(table()->rowCount(), 1);
    QVERIFY(!remove->isEnabled());
}

QTEST_MAIN(ReportFilterTest)
#include "reportfilter_test.moc"
