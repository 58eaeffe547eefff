// What is said of a scan, alike in the window and in the terminal.
#pragma once

#include "interface/names.h"
#include "interface/types.h"

#include <QString>

namespace talo::programs
{

// What a scan program returns to its caller.
enum ExitCode { NoThreats = 0, ThreatsFound = 1, ScanFailed = 2 };

// "Full Scan"
QString kindTitle(interface::ScanKind kind);

// Files that were looked at in full. What was skipped or could not be read is not among them.
quint64 filesScanned(const interface::ScanProgress &progress);

// Files that were not.
quint64 filesNotScanned(const interface::ScanProgress &progress);

// A scan that came to its end with nothing but skipped files and errors: not to be taken for clean.
bool nothingCouldBeScanned(const interface::ScanProgress &progress);

// Share done in whole percent, never 100 before the end; -1 until the count is known.
int percentDone(const interface::ScanProgress &progress);

// "No threats found.", "3 threats found.", and for a scan that did not come to its end that it did
// not: nobody may take a part for the whole.
QString verdictSentence(const interface::ScanProgress &progress);

// "17 files were not scanned: 12 skipped, 5 with errors."; empty if all were.
QString notScannedSentence(const interface::ScanProgress &progress);

ExitCode exitCode(const interface::ScanProgress &progress);

} // namespace talo::programs
