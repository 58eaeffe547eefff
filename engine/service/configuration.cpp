#include "service/configuration.h"

#include "files/configurationfile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace talo::service
{

namespace
{

constexpr std::size_t kLongestAddress = 254;

// Strict: an address goes into the message's head, where a line break or a second address would be
// somebody else's.
bool isAddress(const std::string &text)
{
    const auto allowed = [](char letter) {
        return letter > 0x20 && letter < 0x7F && std::strchr("<>()[]\\,;:\"", letter) == nullptr;
    };
    const std::size_t at = text.find('@');
    return text.size() <= kLongestAddress && at != 0 && at != std::string::npos &&
           at == text.rfind('@') && at + 1 < text.size() &&
           std::all_of(text.begin(), text.end(), allowed);
}

bool isServer(const std::string &text)
{
    for (const std::string_view scheme : {"smtp://", "smtps://"})
        if (text.size() > scheme.size() && text.compare(0, scheme.size(), scheme) == 0)
            return true;
    return false;
}

std::string faultOf(const MailSettings &mail)
{
    if (!isServer(mail.server))
        return "Server must be smtp://host:port or smtps://host:port";
    if (!isAddress(mail.from))
        return "From must be a mail address";
    if (!isAddress(mail.to))
        return "To must be a mail address";
    return std::string();
}

// Empty, or what is wrong with the keys.
std::string take(const files::ConfigurationGroup &keys, MailSettings &mail)
{
    for (const auto &[key, value] : keys) {
        if (key == "Server")
            mail.server = value.text;
        else if (key == "From")
            mail.from = value.text;
        else if (key == "To")
            mail.to = value.text;
        else if (key == "User")
            mail.user = value.text;
        else if (key == "Password")
            mail.password = value.text;
        else
            return "line " + std::to_string(value.line) + " has an unknown key";
    }
    return faultOf(mail);
}

} // namespace

std::optional<MailSettings> readMailSettings(const std::string &file, std::string &failure)
{
    MailSettings mail;
    const auto keys = files::readConfigurationGroup(file, "Mail");
    failure = keys ? take(*keys, mail) : keys.error().text;
    if (failure.empty())
        return mail;
    failure = "the configuration file " + file + " is of no use: " + failure;
    return std::nullopt;
}

std::string readProgramSource(const std::string &file, std::string &failure)
{
    const auto keys = files::readConfigurationGroup(file, "ProgramUpdate");
    if (!keys && keys.error().code != ENOENT) {
        failure = "the configuration file " + file + " is of no use: " + keys.error().text;
        return std::string();
    }
    std::string source;
    if (keys) {
        const auto found = keys->find("Source");
        if (found != keys->end())
            source = found->second.text;
    }
    failure = source.empty() ? "no update source is configured" : std::string();
    return source;
}

} // namespace talo::service
