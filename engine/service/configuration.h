// What the administrator has set in the configuration file.
#pragma once

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

// The folder of releases on a server: the key "Source" of the group "ProgramUpdate". Empty, with
// the reason in `failure`, where none is set or the file is of no use.
std::string readProgramSource(const std::string &file, std::string &failure);

} // namespace talo::service
