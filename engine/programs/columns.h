// Text measured in the columns of a terminal, where one character may take two or none.
#pragma once

#include <QString>

namespace talo::programs
{

int columnsOf(const QString &text);

// The text in at most `columns` columns: what does not fit is left out of the middle, so that a
// path keeps its beginning and its file name. Empty where not even a letter and dots would fit.
QString elidedMiddle(const QString &text, int columns);

} // namespace talo::programs
