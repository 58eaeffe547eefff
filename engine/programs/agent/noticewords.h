// The agent's notices in words.
#pragma once

#include "programs/agent/notice.h"

#include <QDateTime>
#include <QList>
#include <QVariantMap>

#include <optional>

namespace talo::programs
{

struct FoundThreat {
    QString path;
    QString name;
    QString outcome;
};

struct EndedScan {
    QString type;
    uint state = 0;
    QString scanned;
    quint64 files = 0;
    quint64 threats = 0;
    QString report;
};

// Of one scan: `count` threats so far, of which `latest` are the last few.
Notice threatNotice(const QString &scanType, int count, const QList<FoundThreat> &latest);

// Nothing for a state that is no end.
std::optional<Notice> endNotice(const EndedScan &scan);

// From the answer of the service's GetStatus. Nothing where its signatures are well, or where it
// did not say which it has.
std::optional<Notice> signatureNotice(const QVariantMap &status, const QDateTime &now);

} // namespace talo::programs
