// The one line that a terminal shows of a running scan.
#pragma once

#include "interface/types.h"

#include <QString>

namespace talo::programs
{

// Fits into `columns` columns; the path of the current file gives way first.
QString progressLine(const interface::ScanProgress &progress, int columns);

} // namespace talo::programs
