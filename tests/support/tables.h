// Reading the pages' tables, and choosing in them as a user does.
#pragma once

#include <QStringList>

class QTableWidget;

namespace talo::test
{

QStringList captionsOf(const QTableWidget *table);

// What the cells show: "a|b;c|d", with nothing between the bars of a blank row.
QString contentOf(const QTableWidget *table);

// What is wrong with the look and use that the pages' lists share, or empty: whole rows are chosen,
// one at a time, nothing is edited, rows have no numbers, the last column takes what room is left.
QString listTableFault(const QTableWidget *table);

void clickCell(const QTableWidget *table, int row, int column);

} // namespace talo::test
