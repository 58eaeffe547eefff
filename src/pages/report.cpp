#include "pages/report.h"

#include "engine/libreports.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/listtable.h"
#include "pages/messages.h"
#include "pages/viewreport.h"

#include <QBoxLayout>
#include <QCalendarWidget>
#include <QDate>
#include <QDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QTableWidget>
#include <QToolButton>

namespace
{

// Answers of GetReportList() that the user is told about.
constexpr int kNoReports = 204;
constexpr int kStartAfterEnd = 205;

enum Column { KeyColumn, TypeColumn, ViewColumn, ColumnCount };

// Shown to the user, and the form in which the engine takes a bound.
QString dateText(const QDate &date)
{
    return QString("%1:%2:%3").arg(date.year()).arg(date.month()).arg(date.day());
}

} // namespace

Report::Report(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("report");
    createTop();
    createMiddle();
    createBottom();
    fillAllReportTabelData();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addSpacing(5);
    column->addWidget(middle_);
    column->addWidget(bottom_);
    setContentsMargins(0, 0, 0, 0);
}

void Report::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Scan Report"), 170);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowHomePage()));
    top_ = header.band;
}

void Report::createMiddle()
{
    middle_ = talo::createBand(this, "scheduelscanmiddle", 310);
    middle_->setContentsMargins(10, 0, 10, 0);

    QHBoxLayout *filter = createFilterRow();
    createTable();
    from_.dialog = new QDialog(this);
    to_.dialog = new QDialog(this);

    auto *column = talo::createColumn(middle_);
    column->addSpacing(10);
    column->addLayout(filter);
    column->addSpacing(10);
    column->addWidget(table_);
}

QHBoxLayout *Report::createFilterRow()
{
    QWidget *from = createDateWidget(from_, tr("First day"), SLOT(btnFromDateClicked()));
    QWidget *to = createDateWidget(to_, tr("Last day"), SLOT(btnToDateClicked()));

    auto *fromCaption = new QLabel(tr("From:"), middle_);
    fromCaption->setObjectName("lblFromStyle");
    auto *toCaption = new QLabel(tr("To:"), middle_);
    toCaption->setObjectName("lblFromStyle");

    auto *apply = new QToolButton(middle_);
    apply->setObjectName("btnApplyRptFilter");
    apply->setText(tr("APPLY"));
    apply->setCursor(Qt::PointingHandCursor);
    connect(apply, SIGNAL(clicked(bool)), this, SLOT(btnApplyRptFilterClicked()));

    auto *row = talo::createRow();
    row->addStretch(1);
    row->addWidget(fromCaption);
    row->addSpacing(5);
    row->addWidget(from);
    row->addSpacing(40);
    row->addWidget(toCaption);
    row->addSpacing(5);
    row->addWidget(to);
    row->addStretch(1);
    row->addWidget(apply);
    row->addSpacing(10);
    return row;
}

QWidget *Report::createDateWidget(DateBound &bound, const QString &name, const char *clickedSlot)
{
    auto *box = new QWidget(middle_);
    box->setFixedSize(150, 30);
    box->setObjectName("datewidget");

    bound.label = new QLabel(dateText(QDate::currentDate()), box);
    auto *button = new QToolButton(box);
    button->setObjectName("btnCalIcon");
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setIconSize(QSize(25, 30));
    button->setAccessibleName(name);
    connect(button, SIGNAL(clicked(bool)), this, clickedSlot);

    auto *row = talo::createRow(box);
    row->addWidget(bound.label, 0, Qt::AlignHCenter);
    row->addWidget(button);
    return box;
}

// The page is built while the panel starts, and the calendars' arrows search the icon theme: that
// waits until somebody looks at the page.
void Report::showEvent(QShowEvent *event)
{
    createCalendars();
    QWidget::showEvent(event);
}

void Report::createCalendars()
{
    if (from_.calendar == nullptr) {
        createCalendar(from_, SLOT(fromDate(QDate)));
        createCalendar(to_, SLOT(toDate(QDate)));
    }
}

void Report::createCalendar(DateBound &bound, const char *pickedSlot)
{
    bound.calendar = new QCalendarWidget(bound.dialog);
    bound.calendar->setGridVisible(true);
    bound.calendar->setAccessibleName(tr("Calendar"));
    bound.calendar->setMinimumDate(QDate(2017, 7, 3));
    connect(bound.calendar, SIGNAL(clicked(QDate)), this, pickedSlot);
    connect(bound.calendar, SIGNAL(activated(QDate)), this, pickedSlot); // the Return key
}

void Report::createTable()
{
    table_ = new QTableWidget(0, ColumnCount, middle_);
    table_->setFixedSize(630, 240);
    table_->setColumnWidth(KeyColumn, 278);
    table_->setColumnWidth(TypeColumn, 150);
    table_->setColumnWidth(ViewColumn, 185);
    talo::makeListTable(table_, {tr("Date/Time"), tr("Type"), tr("View")}, tr("Reports"));
    connect(table_, SIGNAL(cellClicked(int, int)), this, SLOT(viewReportDetails(int, int)));
    table_->installEventFilter(this);
}

void Report::createBottom()
{
    bottom_ = talo::createBand(this, "bottomschedulescan", 50);

    btnDelete_ = new QToolButton(bottom_);
    btnDelete_->setText(tr("DELETE"));
    btnDelete_->setCursor(Qt::PointingHandCursor);
    connect(btnDelete_, SIGNAL(clicked(bool)), this, SLOT(btnDeleteRptClicked()));

    auto *row = talo::createRow(bottom_);
    row->addStretch(1);
    row->addWidget(btnDelete_);
    row->addSpacing(10);
}

void Report::btnFromDateClicked()
{
    pickDate(from_);
}

void Report::btnToDateClicked()
{
    pickDate(to_);
}

void Report::pickDate(DateBound &bound)
{
    createCalendars();
    bound.dialog->resize(350, 200);
    bound.dialog->setAutoFillBackground(true);
    bound.dialog->setFocus();
    bound.dialog->exec();
}

void Report::fromDate(QDate date)
{
    from_.dialog->accept();
    from_.label->setText(dateText(date));
}

void Report::toDate(QDate date)
{
    to_.dialog->accept();
    to_.label->setText(dateText(date));
}

void Report::fillAllReportTabelData()
{
    table_->setRowCount(0);
    int count = 0;
    std::string list;
    if (libReports::GetReportList(list, "", "", &count) == 0) {
        table_->setRowCount(count);
        fillReportTabelData(QString::fromStdString(list));
    }
    if (count > 0) {
        table_->setCurrentIndex(table_->currentIndex());
    }
    btnDelete_->setEnabled(count > 0);
}

void Report::btnApplyRptFilterClicked()
{
    table_->setRowCount(0);
    int count = 0;
    std::string list;
    switch (libReports::GetReportList(list, from_.label->text().toStdString(),
                                      to_.label->text().toStdString(), &count)) {
    case 0:
        table_->setRowCount(count);
        fillReportTabelData(QString::fromStdString(list));
        break;
    case kStartAfterEnd:
        talo::showWarning(this, tr("Start date must be less than End date."));
        break;
    case kNoReports:
        talo::showWarning(this, tr("No Reports Found"));
        break;
    default:
        break;
    }
}

// A record is a key and a type. The table has the number of rows that the engine named: a record
// too many has no place.
void Report::fillReportTabelData(QString list)
{
    const QList<QStringList> records = talo::recordsOf(list, 2);
    const int rows = qMin(records.size(), table_->rowCount());
    for (int row = 0; row < rows; ++row) {
        talo::setCentredCell(table_, row, KeyColumn, records[row][0]);
        talo::setCentredCell(table_, row, TypeColumn, records[row][1]);
        talo::setCentredCell(table_, row, ViewColumn, tr("View"));
    }
}

// Also answers for a row without cells: its key is empty.
std::string Report::reportKey(int row) const
{
    const QAbstractItemModel *model = table_->model();
    return model->index(row, KeyColumn).data().toString().toStdString();
}

void Report::viewReportDetails(int row, int column)
{
    if (column != ViewColumn) {
        return;
    }
    std::string date;
    std::string time;
    std::string text;
    std::string type;
    if (libReports::GetReportData(reportKey(row), date, time, text, type) != 0) {
        talo::showWarning(this, tr("Report file is corrupted."));
        return;
    }
    auto *viewer =
        new ViewReport(QString::fromStdString(text), QString::fromStdString(date),
                       QString::fromStdString(time), QString::fromStdString(type), nullptr);
    viewer->exec();
    viewer->deleteLater();
}

// The keyboard's way to what a click on "View" does.
bool Report::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == table_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if ((key == Qt::Key_Return || key == Qt::Key_Enter) && table_->currentRow() >= 0) {
            viewReportDetails(table_->currentRow(), ViewColumn);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void Report::btnDeleteRptClicked()
{
    const int row = table_->currentRow();
    if (row < 0) {
        talo::showWarning(this, tr("Select a report to delete."));
        return;
    }
    if (libReports::DeleteReport(reportKey(row)) == 0) {
        fillAllReportTabelData();
        talo::showInformation(this, tr("Report deleted successfully."));
    }
}
