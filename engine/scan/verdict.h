// What a scan can say of a file.
#pragma once

#include <string>

namespace talo::scan
{

enum class VerdictKind {
    Clean,   // looked at in full and nothing found
    Threat,  // detail: the threat's name
    Skipped, // not looked at, or not in full; detail: the reason
    Error,   // could not be looked at; detail: the reason
};

struct Verdict {
    VerdictKind kind = VerdictKind::Error;
    std::string detail;
};

// How a threat is treated depends on its class.
enum class ThreatClass {
    Infected,  // a signature matched
    Suspected, // a heuristic or a potentially unwanted program matched
    Hidden,    // any match in a file whose name, or a folder's above it, begins with a dot
};

// What the content is searched with.
struct ScanOptions {
    bool archives = true; // look into archives
    bool packed = true;   // unpack packed executables
};

} // namespace talo::scan
