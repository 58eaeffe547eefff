// The tables of the pages' lists, and the form in which the engine hands such lists over.
#pragma once

#include <QList>
#include <QStringList>

class QTableWidget;

namespace talo
{

// Makes a table one to choose a whole row of, one at a time, and to edit nothing in. `name` is
// for screen readers.
void makeListTable(QTableWidget *table, const QStringList &captions, const QString &name);

void setCentredCell(QTableWidget *table, int row, int column, const QString &text);

// The engine's lists are records joined by ",", with fields joined by "#". Records that have
// another number of fields are left out.
QList<QStringList> recordsOf(const QString &list, int fieldCount);

} // namespace talo
