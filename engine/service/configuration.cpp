#include "service/configuration.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::service
{

namespace
{

constexpr std::size_t kLargest = 65536;
constexpr std::size_t kLongestAddress = 254;

std::string systemReason()
{
    return std::strerror(errno);
} // NOLINT(concurrency-mt-unsafe)

// Whoever may write the file could have the passwords mailed to himself.
std::string faultOf(const struct stat &status)
{
    if (!S_ISREG(status.st_mode))
        return "it is not a regular file";
    if (status.st_uid != 0 && status.st_uid != geteuid())
        return "it belongs to user " + std::to_string(status.st_uid);
    if ((status.st_mode & S_IWOTH) != 0)
        return "everybody may write it";
    if (status.st_size > static_cast<off_t>(kLargest))
        return "it is too large";
    return std::string();
}

bool readAll(const std::string &path, std::string &content, std::string &failure)
{
    const files::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {
    };
    if (!file || fstat(file.get(), &status) != 0) {
        failure = systemReason();
        return false;
    }
    failure = faultOf(status);
    std::array<char, 4096> part{};
    while (failure.empty()) {
        const ssize_t count = read(file.get(), part.data(), part.size());
        if (count == 0)
            break;
        if (count < 0)
            failure = systemReason();
        else
            content.append(part.data(), static_cast<std::size_t>(count));
        if (content.size() > kLargest)
            failure = "it is too large";
    }
    return failure.empty();
}

std::string trimmed(const std::string &text)
{
    const char *const kBlank = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool isControl(char letter)
{
    return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
}

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

// One line of the group "Mail"; empty or what is wrong with it.
std::string take(const std::string &line, MailSettings &mail, std::set<std::string> &seen)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos)
        return "neither a key nor a group nor a comment";
    const std::string key = trimmed(line.substr(0, equals));
    const std::string value = trimmed(line.substr(equals + 1));
    if (std::any_of(value.begin(), value.end(), isControl))
        return "a control character";
    if (!seen.insert(key).second)
        return "a key for the second time";
    if (key == "Server")
        mail.server = value;
    else if (key == "From")
        mail.from = value;
    else if (key == "To")
        mail.to = value;
    else if (key == "User")
        mail.user = value;
    else if (key == "Password")
        mail.password = value;
    else
        return "an unknown key";
    return std::string();
}

std::string parse(const std::string &content, MailSettings &mail)
{
    std::istringstream lines(content);
    std::string raw;
    std::string group;
    std::set<std::string> seen;
    for (int number = 1; std::getline(lines, raw); ++number) {
        const std::string line = trimmed(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            group = trimmed(line.substr(1, line.size() - 2));
            continue;
        }
        if (group != "Mail")
            continue;
        // The line itself is not told: it may hold the mail server's password.
        const std::string fault = take(line, mail, seen);
        if (!fault.empty())
            return "line " + std::to_string(number) + " has " + fault;
    }
    return faultOf(mail);
}

} // namespace

std::optional<MailSettings> readMailSettings(const std::string &file, std::string &failure)
{
    MailSettings mail;
    std::string content;
    if (readAll(file, content, failure))
        failure = parse(content, mail);
    if (failure.empty())
        return mail;
    failure = "the configuration file " + file + " is of no use: " + failure;
    return std::nullopt;
}

} // namespace talo::service
