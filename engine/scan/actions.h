// What is done about a threat.
#pragma once

#include "scan/disinfection.h"
#include "scan/job.h"
#include "scan/quarantine.h"

#include <string>
#include <string_view>

namespace talo::scan
{

// The class of a match. The place decides first: a match in a hidden place is Hidden, whatever
// matched, since the settings treat such files apart. Elsewhere a heuristic or a potentially
// unwanted program is Suspected, and every other match Infected.
ThreatClass classOf(std::string_view path, std::string_view threatName);

const ClassActions &actionsFor(ThreatClass threatClass, const ScanSettings &settings);

// Does the first action, and the second where the first cannot be done. Says in words what came of
// it, which is also true when nothing could be done. Disinfect removes the malicious part of a file
// where the file can do without; DisinfectOrDelete deletes where not.
std::string actOn(const Quarantine::Catch &file, const ClassActions &actions,
                  Quarantine &quarantine, const Disinfection &disinfection);

} // namespace talo::scan
