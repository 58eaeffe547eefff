// What the administrator has set in the configuration file.
#pragma once

#include "update/signaturesource.h"

#include <functional>
#include <optional>
#include <string>

namespace talo::service
{

struct MailSettings {
    std::string server; // "smtps://mail.example.org:465" or "smtp://…"
    std::string from;
    std::string to; // the registered address
    std::string user;
    std::string password;
};

// The group "Mail" of an INI file with the keys Server, From, To and, where the server wants them,
// User and Password. Nothing, with the reason in `failure`, unless all is there and has its form,
// and unless the file belongs to root or to this process's user and nobody else may write it.
std::optional<MailSettings> readMailSettings(const std::string &file, std::string &failure);

// The group "Update", whose keys are all optional: Official (yes or no), Mirror, PrivateMirror and
// Database (any number of each), Proxy, ProxyUser, ProxyPassword, User, Timeout (seconds),
// WorkFolder, Freshclam, StartDelay (seconds). A file that is not there means the defaults.
struct UpdateSettings {
    update::SignatureSource source;
    std::optional<unsigned> startDelay; // seconds from the service's start to the first automatic
                                        // update; a random time where not given
};
std::optional<UpdateSettings> readUpdateSettings(const std::string &file, std::string &failure);

// Reads one group of a file that is fit: `take` is given every key and value of it, and answers
// what is wrong with one, or nothing. Empty, or why the file is of no use.
enum class Absent { IsAnError, IsEmpty };
using TakeValue = std::function<std::string(const std::string &key, const std::string &value)>;
std::string readGroup(const std::string &file, const std::string &group, Absent absent,
                      const TakeValue &take);

} // namespace talo::service
