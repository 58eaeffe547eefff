#include "support/tables.h"

#include <QHeaderView>
#include <QTableWidget>
#include <QtTest>

namespace talo::test
{

QStringList captionsOf(const QTableWidget *table)
{
    QStringList captions;
    for (int column = 0; column < table->columnCount(); ++column)
        captions << table->horizontalHeaderItem(column)->text();
    return captions;
}

QString contentOf(const QTableWidget *table)
{
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < table->columnCount(); ++column)
            cells << table->model()->index(row, column).data().toString();
        rows << cells.join('|');
    }
    return rows.join(';');
}

QString listTableFault(const QTableWidget *table)
{
    if (table->selectionBehavior() != QAbstractItemView::SelectRows)
        return "cells can be chosen";
    if (table->selectionMode() != QAbstractItemView::SingleSelection)
        return "not one row alone can be chosen";
    if (table->editTriggers() != QAbstractItemView::NoEditTriggers)
        return "cells can be edited";
    if (!table->verticalHeader()->isHidden())
        return "rows are numbered";
    if (!table->horizontalHeader()->stretchLastSection())
        return "the last column leaves room beside it";
    return {};
}

void clickCell(const QTableWidget *table, int row, int column)
{
    const QRect place = table->visualRect(table->model()->index(row, column));
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, place.center());
}

} // namespace talo::test
