// Which signatures the service scans with, in words.
#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>

namespace talo::programs
{

struct SignatureWords {
    QString inUse;  // "updated set, version 27123, 2 days old, 2,036,512 signatures"
    QString advice; // what is wrong with them and what to do; empty when all is well
};

// From the answer of the service's GetStatus; an empty one means that it could not be had.
SignatureWords describeSignatures(const QVariantMap &status, const QDateTime &now);

} // namespace talo::programs
