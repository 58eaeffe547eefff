// Shows one stored report in the panel's own viewer.
#pragma once

#include <QString>

namespace talo::programs
{

void showReport(const QString &key);

} // namespace talo::programs
