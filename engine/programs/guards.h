// What the service enforces on the machine now, in words.
#pragma once

#include <QString>
#include <QVariantMap>

namespace talo::programs
{

// From the answer of the service's GetStatus.
QString firewallWords(const QVariantMap &status);
QString storageWords(const QVariantMap &status);
QString driveWords(const QVariantMap &status);

} // namespace talo::programs
