#include "files/configurationfile.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>

namespace talo::files
{

namespace
{

constexpr std::size_t kLargest = 65536;

// Whoever may write the file decides what the product does, and where passwords are sent.
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

Result<std::string> readAll(const std::string &path)
{
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0)
        return systemError(errno);
    if (std::string fault = faultOf(status); !fault.empty())
        return Error{0, std::move(fault)};
    std::string content;
    std::array<char, 4096> part{};
    for (;;) {
        const ssize_t count = read(file.get(), part.data(), part.size());
        if (count == 0)
            return content;
        if (count < 0)
            return systemError(errno);
        content.append(part.data(), static_cast<std::size_t>(count));
        if (content.size() > kLargest)
            return Error{0, "it is too large"};
    }
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

// Empty, or what is wrong with the line.
std::string take(const std::string &line, int number, ConfigurationGroup &keys)
{
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos)
        return "neither a key nor a group nor a comment";
    const std::string value = trimmed(line.substr(equals + 1));
    if (std::any_of(value.begin(), value.end(), isControl))
        return "a control character";
    if (!keys.emplace(trimmed(line.substr(0, equals)), ConfigurationValue{value, number}).second)
        return "a key for the second time";
    return std::string();
}

} // namespace

Result<ConfigurationGroup> readConfigurationGroup(const std::string &file, const std::string &group)
{
    const Result<std::string> content = readAll(file);
    if (!content)
        return content.error();
    ConfigurationGroup keys;
    std::istringstream lines(*content);
    std::string raw;
    std::string current;
    for (int number = 1; std::getline(lines, raw); ++number) {
        const std::string line = trimmed(raw);
        if (line.empty() || line[0] == '#' || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            current = trimmed(line.substr(1, line.size() - 2));
            continue;
        }
        if (current != group)
            continue;
        if (const std::string fault = take(line, number, keys); !fault.empty())
            return Error{0, "line " + std::to_string(number) + " has " + fault};
    }
    return keys;
}

} // namespace talo::files
