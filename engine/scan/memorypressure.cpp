#include "memorypressure.h"

#include "files/uniquefd.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <unistd.h>

namespace talo::scan
{

namespace
{

// The beginning of a file that the kernel makes up; a page is the most that it gives at a time.
std::string beginning(const std::string &path)
{
    const files::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    std::string text(4096, '\0');
    ssize_t size = -1;
    do
        size = file ? read(file.get(), text.data(), text.size()) : -1;
    while (size < 0 && file && errno == EINTR);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return text;
}

// "some avg10=1.25 avg60=…": some, not all, had to wait.
std::optional<double> share(const std::string &report)
{
    constexpr std::string_view kBegin = "some avg10=";
    const std::string text = beginning(report);
    if (text.compare(0, kBegin.size(), kBegin) != 0)
        return std::nullopt;
    double percent = 0;
    // Whatever the language: the kernel writes a point.
    const auto [end, error] =
        std::from_chars(text.data() + kBegin.size(), text.data() + text.size(), percent);
    if (error != std::errc())
        return std::nullopt;
    return percent;
}

// Of the second version of control groups alone: the first has no such reports.
std::string ownControlGroup()
{
    constexpr std::string_view kUnified = "0::";
    const std::string groups = "\n" + beginning("/proc/self/cgroup");
    const std::size_t line = groups.find("\n0::");
    if (line == std::string::npos)
        return std::string();
    const std::size_t begin = line + 1 + kUnified.size();
    return groups.substr(begin, groups.find('\n', begin) - begin);
}

} // namespace

std::vector<std::string> pressureReports()
{
    std::vector<std::string> reports{"/proc/pressure/memory"};
    const std::string group = ownControlGroup();
    if (!group.empty())
        // The second place is that of machines with both versions.
        for (const char *place : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"})
            reports.push_back(place + group + "/memory.pressure");
    reports.erase(std::remove_if(reports.begin(), reports.end(),
                                 [](const std::string &report) { return !share(report); }),
                  reports.end());
    return reports;
}

double memoryPressure(const std::vector<std::string> &reports)
{
    double highest = 0;
    for (const std::string &report : reports)
        highest = std::max(highest, share(report).value_or(0));
    return highest;
}

} // namespace talo::scan
