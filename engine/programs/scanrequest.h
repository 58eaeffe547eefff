// What a scan program is asked to do on its command line.
#pragma once

#include "interface/names.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace talo::programs
{

struct ScanRequest {
    interface::ScanKind kind = interface::FullScan;
    QByteArray path; // absolute, in bytes as the file system has them
};

// Either a request or, in words, what is wrong with the arguments.
struct ParsedRequest {
    std::optional<ScanRequest> request;
    QString problem;
};

// The arguments of FullScan, QuickScan and CustomScan, program name first: a path and the kind's
// code (1 full, 2 custom, 3 quick). Without a code the program's name tells the kind.
ParsedRequest parseScanArguments(const QList<QByteArray> &arguments);

// A path of the command line as one that does not depend on the working directory, otherwise
// unchanged byte for byte. Nothing if the working directory cannot be told.
std::optional<QByteArray> absolutePath(const QByteArray &path);

// How the scan programs are used.
QString scanUsage();

} // namespace talo::programs
