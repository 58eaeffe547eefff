#include "pages/listtable.h"

#include <QHeaderView>
#include <QTableWidget>

namespace talo
{

void makeListTable(QTableWidget *table, const QStringList &captions, const QString &name)
{
    table->setAccessibleName(name);
    table->setTabKeyNavigation(false); // Tab leads on to the buttons
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    table->setHorizontalHeaderLabels(captions);
    table->horizontalHeader()->setStretchLastSection(true);
}

void setCentredCell(QTableWidget *table, int row, int column, const QString &text)
{
    auto *cell = new QTableWidgetItem(text);
    cell->setTextAlignment(Qt::AlignCenter);
    table->setItem(row, column, cell);
}

QList<QStringList> recordsOf(const QString &list, int fieldCount)
{
    QList<QStringList> records;
    for (const QString &record : list.split(',', Qt::KeepEmptyParts)) {
        const QStringList fields = record.split('#', Qt::KeepEmptyParts);
        if (fields.size() == fieldCount)
            records.append(fields);
    }
    return records;
}

} // namespace talo
