// Captions and values in two columns of a terminal.
#pragma once

#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

namespace talo::programs
{

using TextRow = QPair<QString, QString>; // caption, value
using TextRows = QList<TextRow>;

// One line for each row. The values begin below each other: after `columns` columns and a gap, or
// later where a caption in the user's language is longer.
QStringList aligned(const TextRows &rows, int columns);

} // namespace talo::programs
