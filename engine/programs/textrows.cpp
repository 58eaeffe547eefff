#include "programs/textrows.h"

#include "programs/columns.h"

#include <algorithm>

namespace talo::programs
{

QStringList aligned(const TextRows &rows, int columns)
{
    for (const auto &[caption, value] : rows)
        columns = std::max(columns, columnsOf(caption));
    QStringList lines;
    for (const auto &[caption, value] : rows)
        lines << caption + QString(columns - columnsOf(caption) + 1, QLatin1Char(' ')) + value;
    return lines;
}

} // namespace talo::programs
