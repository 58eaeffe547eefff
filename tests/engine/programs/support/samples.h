// Threats and states of scans for tests to show.
#pragma once

#include "interface/names.h"
#include "interface/types.h"

namespace talo::tests
{

inline QList<interface::ThreatFound> manyThreats(int count)
{
    QList<interface::ThreatFound> threats;
    for (int number = 0; number < count; ++number)
        threats << interface::ThreatFound {
            QStringLiteral("/tmp/threat-%1").arg(number),
                QStringLiteral("Test.File.%1").arg(number), QStringLiteral("infected"),
                QStringLiteral("deleted, kept in quarantine")
        };
    return threats;
}

inline interface::ScanProgress progressIn(interface::JobState state)
{
    interface::ScanProgress progress;
    progress.state = state;
    progress.current = QStringLiteral("/usr/bin/something");
    progress.filesDone = 12350;
    progress.filesTotal = 24700;
    progress.bytesDone = 1400000000;
    progress.bytesTotal = 2800000000;
    progress.elapsedMs = 200000;
    progress.remainingMs = 65000;
    progress.clean = 12345;
    progress.skipped = 3;
    progress.errors = 2;
    if (state >= interface::Finished)
        progress.report = QStringLiteral("2026-11-21 14:05:09");
    return progress;
}

} // namespace talo::tests
