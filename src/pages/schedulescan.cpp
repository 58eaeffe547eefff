#include "pages/schedulescan.h"

#include "engine/libschedulescan.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/listtable.h"
#include "pages/messages.h"
#include "pages/schedulebands.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QTableWidget>
#include <QToolButton>

#include <string>

namespace
{

enum Column { NameColumn, TypeColumn, FrequencyColumn, ColumnCount };

// The fields of one record of the engine's list: not in the order of the table's columns.
enum Field { NameField, FrequencyField, TypeField, FieldCount };

} // namespace

ScheduleScan::ScheduleScan(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("schedulescan");
    createTop();
    createMiddle();
    createBottom();
    fillAllSchTabelData();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(middle_);
    column->addStretch(1);
    column->addWidget(bottom_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void ScheduleScan::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Schedule Scan"), 120);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowScanPage()));
    top_ = header.band;
}

void ScheduleScan::createMiddle()
{
    const talo::ScheduleMiddle middle = talo::createScheduleMiddle(
        this, tr("  Performs scans on user configured objects and files."));
    middle_ = middle.band;
    createTable();
    middle.column->addWidget(table_);
}

void ScheduleScan::createTable()
{
    table_ = new QTableWidget(0, ColumnCount, middle_);
    table_->setFixedSize(630, 240);
    table_->setColumnWidth(NameColumn, 228);
    table_->setColumnWidth(TypeColumn, 200);
    table_->setColumnWidth(FrequencyColumn, 200);
    talo::makeListTable(table_, {tr("Name"), tr("Type"), tr("Frequency")}, tr("Scheduled scans"));
    // The last column keeps its width beside a vertical scroll bar; a second bar would only let the
    // user reach its margin.
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

void ScheduleScan::createBottom()
{
    bottom_ = talo::createBand(this, "bottomschedulescan", 50);

    btnRemove_ = talo::createTextButton(bottom_, "", tr("REMOVE"));
    connect(btnRemove_, SIGNAL(clicked(bool)), this, SLOT(btnRemoveSchClicked()));
    btnEdit_ = talo::createTextButton(bottom_, "", tr("EDIT"));
    connect(btnEdit_, SIGNAL(clicked(bool)), this, SLOT(btnEditSchClicked()));
    auto *add = talo::createTextButton(bottom_, "", tr("ADD"));
    connect(add, SIGNAL(clicked(bool)), this, SIGNAL(ShowConfigureScheduleScanPage()));

    auto *row = talo::createRow(bottom_);
    row->addStretch(1);
    for (QToolButton *button : {btnRemove_, btnEdit_, add}) {
        row->addWidget(button);
        row->addSpacing(10);
    }
}

void ScheduleScan::fillAllSchTabelData()
{
    table_->setRowCount(0);
    int count = 0;
    std::string list;
    if (libScheduleScan::GetScheduleList(list, &count) == 0) {
        table_->setRowCount(count);
        fillRows(QString::fromStdString(list));
    } else {
        count = 0; // whatever a failing call has left there counts nothing
    }
    if (count > 0) {
        table_->setCurrentIndex(table_->currentIndex());
    }
    btnRemove_->setEnabled(count > 0);
    btnEdit_->setEnabled(count > 0);
}

// The table has the number of rows that the engine named: a record too many has no place.
void ScheduleScan::fillRows(const QString &list)
{
    const QList<QStringList> records = talo::recordsOf(list, FieldCount);
    const int rows = qMin(records.size(), table_->rowCount());
    for (int row = 0; row < rows; ++row) {
        const QStringList &fields = records[row];
        talo::setCentredCell(table_, row, NameColumn, fields[NameField]);
        talo::setCentredCell(table_, row, TypeColumn, fields[TypeField]);
        talo::setCentredCell(table_, row, FrequencyColumn, fields[FrequencyField]);
    }
}

// Also answers for a row without cells: its name is empty.
QString ScheduleScan::currentName() const
{
    return table_->model()->index(table_->currentRow(), NameColumn).data().toString();
}

void ScheduleScan::btnRemoveSchClicked()
{
    if (table_->currentRow() < 0) {
        talo::showWarning(this, tr("Select a schedule scan item to remove."));
        return;
    }
    const QString name = currentName();
    if (libScheduleScan::RemoveScheduleScan(name.toUtf8().constData()) == 0) {
        talo::showInformation(this, tr("ScheduleScan configuration [ %1 ] removed.").arg(name));
        fillAllSchTabelData();
    }
}

void ScheduleScan::btnEditSchClicked()
{
    if (table_->currentRow() < 0) {
        talo::showWarning(this, tr("Select a schedule scan item to edit."));
        return;
    }
    const QString name = currentName();
    int type = 0;
    int weekday = 0;
    int hour = 0;
    int minute = 0;
    if (libScheduleScan::GetScheduleScanDetails(name.toUtf8().constData(), &type, &weekday, &hour,
                                                &minute) == 0) {
        emit EditConfigureScheduleScan(name, type, weekday, hour, minute);
    }
}
