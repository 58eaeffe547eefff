#include "service/configuration.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <map>
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

bool readAll(const std::string &path, Absent absent, std::string &content, std::string &failure)
{
    const files::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {
    };
    if (!file && errno == ENOENT && absent == Absent::IsEmpty)
        return true;
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

std::string takeLine(const std::string &line, const TakeValue &take)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos)
        return "neither a key nor a group nor a comment";
    const std::string value = trimmed(line.substr(equals + 1));
    if (std::any_of(value.begin(), value.end(), isControl))
        return "a control character";
    return take(trimmed(line.substr(0, equals)), value);
}

std::string parse(const std::string &content, const std::string &wanted, const TakeValue &take)
{
    std::istringstream lines(content);
    std::string raw;
    std::string group;
    for (int number = 1; std::getline(lines, raw); ++number) {
        const std::string line = trimmed(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            group = trimmed(line.substr(1, line.size() - 2));
            continue;
        }
        if (group != wanted)
            continue;
        // The line itself is not told: it may hold a password.
        const std::string fault = takeLine(line, take);
        if (!fault.empty())
            return "line " + std::to_string(number) + " has " + fault;
    }
    return std::string();
}

// A number of seconds; false for anything else.
bool parseSeconds(const std::string &text, unsigned least, unsigned &seconds)
{
    constexpr unsigned kMost = 86400;
    if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != text.npos)
        return false;
    seconds = static_cast<unsigned>(std::stoul(text));
    return seconds >= least && seconds <= kMost;
}

std::string noUse(const std::string &file, const std::string &failure)
{
    return "the configuration file " + file + " is of no use: " + failure;
}

constexpr char kTwice[] = "a key for the second time";
constexpr char kUnknown[] = "an unknown key";

class UpdateKeys
{
public:
    std::string take(const std::string &key, const std::string &value)
    {
        update::SignatureSource &source = settings.source;
        const std::map<std::string, std::vector<std::string> *> lists{
            {"Mirror", &source.mirrors},
            {"PrivateMirror", &source.privateMirrors},
            {"Database", &source.databases}};
        const std::map<std::string, std::string *> texts{{"Proxy", &source.proxy},
                                                         {"ProxyUser", &source.proxyUser},
                                                         {"ProxyPassword", &source.proxyPassword},
                                                         {"User", &source.user},
                                                         {"WorkFolder", &source.workFolder},
                                                         {"Freshclam", &source.program}};
        if (const auto list = lists.find(key); list != lists.end()) {
            list->second->push_back(value);
            return std::string();
        }
        if (!seen_.insert(key).second)
            return kTwice;
        if (const auto text = texts.find(key); text != texts.end()) {
            *text->second = value;
            return std::string();
        }
        return takeOther(key, value);
    }

    UpdateSettings settings;

private:
    std::string takeOther(const std::string &key, const std::string &value)
    {
        unsigned seconds = 0;
        if (key == "Official") {
            settings.source.official = value != "no";
            return value == "yes" || value == "no" ? "" : "neither yes nor no";
        }
        if (key == "Timeout") {
            const bool valid = parseSeconds(value, 1, seconds);
            settings.source.patience = std::chrono::seconds(seconds);
            return valid ? "" : "no number of seconds";
        }
        if (key == "StartDelay") {
            const bool valid = parseSeconds(value, 0, seconds);
            settings.startDelay = seconds;
            return valid ? "" : "no number of seconds";
        }
        return kUnknown;
    }

    std::set<std::string> seen_;
};

} // namespace

std::string readGroup(const std::string &file, const std::string &group, Absent absent,
                      const TakeValue &take)
{
    std::string content;
    std::string failure;
    if (readAll(file, absent, content, failure))
        failure = parse(content, group, take);
    return failure.empty() ? failure : noUse(file, failure);
}

std::optional<MailSettings> readMailSettings(const std::string &file, std::string &failure)
{
    MailSettings mail;
    const std::map<std::string, std::string *> keys{{"Server", &mail.server},
                                                    {"From", &mail.from},
                                                    {"To", &mail.to},
                                                    {"User", &mail.user},
                                                    {"Password", &mail.password}};
    std::set<std::string> seen;
    failure = readGroup(file, "Mail", Absent::IsAnError,
                        [&](const std::string &key, const std::string &value) -> std::string {
                            if (!seen.insert(key).second)
                                return kTwice;
                            const auto known = keys.find(key);
                            if (known == keys.end())
                                return kUnknown;
                            *known->second = value;
                            return std::string();
                        });
    if (failure.empty())
        if (const std::string fault = faultOf(mail); !fault.empty())
            failure = noUse(file, fault);
    return failure.empty() ? std::optional(mail) : std::nullopt;
}

std::optional<UpdateSettings> readUpdateSettings(const std::string &file, std::string &failure)
{
    UpdateKeys keys;
    failure = readGroup(file, "Update", Absent::IsEmpty,
                        [&keys](const std::string &key, const std::string &value) {
                            return keys.take(key, value);
                        });
    if (failure.empty())
        if (const std::string fault = faultOf(keys.settings.source); !fault.empty())
            failure = noUse(file, fault);
    return failure.empty() ? std::optional(keys.settings) : std::nullopt;
}

} // namespace talo::service
