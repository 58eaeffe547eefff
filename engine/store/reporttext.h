// A report as a person reads it.
#pragma once

#include "store/report.h"

namespace talo::store
{

std::string renderReport(const Report &report);

} // namespace talo::store
