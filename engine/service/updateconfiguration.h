// What the administrator has set about updates.
#pragma once

#include "update/signaturesource.h"

#include <optional>
#include <string>

namespace talo::service
{

struct UpdateSettings {
    update::SignatureSource source;
    std::optional<unsigned> startDelay; // seconds from the service's start to the first automatic
                                        // update; a random time where not given
};

// The group "Update" of the configuration file, whose keys are all optional: Official (yes or no);
// Mirror, PrivateMirror and Database, which take several, separated by blanks; Proxy, ProxyUser,
// ProxyPassword, User, Timeout (seconds), WorkFolder, Freshclam, StartDelay (seconds). A file that
// is not there means the defaults. Nothing, with the reason in `failure`, where the file is not
// fit.
std::optional<UpdateSettings> readUpdateSettings(const std::string &file, std::string &failure);

} // namespace talo::service
