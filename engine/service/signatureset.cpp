#include "service/signatureset.h"

#include "files/printable.h"
#include "service/paths.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <set>
#include <sys/stat.h>

namespace talo::service
{

namespace
{

// Those of ClamAV's kinds of database that detect something.
const std::set<std::string> &databaseKinds()
{
    static const std::set<std::string> kinds{"cvd", "cld", "cud", "hdb",  "hdu", "hsb", "hsu",
                                             "mdb", "mdu", "msb", "msu",  "ndb", "ndu", "ldb",
                                             "ldu", "db",  "cdb", "yara", "yar", "cbc"};
    return kinds;
}

std::string kindOf(const std::string &file)
{
    const std::size_t dot = file.find_last_of('.');
    return dot == std::string::npos ? std::string() : file.substr(dot + 1);
}

bool isDatabase(const std::string &file)
{
    return databaseKinds().count(kindOf(file)) != 0;
}

bool isOfficial(const std::string &file)
{
    return kindOf(file) == "cvd" || kindOf(file) == "cld";
}

struct Content {
    std::time_t newest = 0;
    std::set<std::string> official;
    unsigned databases = 0;
};

Content look(const std::string &folder)
{
    Content content;
    DIR *const entries = opendir(folder.c_str());
    if (entries == nullptr)
        return content;
    while (const dirent *entry = readdir(entries)) {
        const std::string name = entry->d_name;
        struct stat status {
        };
        if (!isDatabase(name) || fstatat(dirfd(entries), name.c_str(), &status, 0) != 0 ||
            !S_ISREG(status.st_mode))
            continue;
        ++content.databases;
        content.newest = std::max(content.newest, status.st_mtime);
        if (isOfficial(name))
            content.official.insert(name);
    }
    closedir(entries);
    return content;
}

// The version in an official database's header "ClamAV-VDB:date:version:…", whose date has its
// own colon-free form; empty when the file has no such header.
std::string officialVersion(const std::string &path)
{
    std::array<char, 512> header{};
    std::ifstream file(path, std::ios::binary);
    file.read(header.data(), header.size());
    const std::string text(header.data(), static_cast<std::size_t>(file.gcount()));
    if (text.compare(0, 11, "ClamAV-VDB:") != 0)
        return std::string();
    const std::size_t date = text.find(':', 11);
    const std::size_t end = date == std::string::npos ? date : text.find(':', date + 1);
    if (end == std::string::npos)
        return std::string();
    const std::string version = text.substr(date + 1, end - date - 1);
    const bool digits = !version.empty() && version.size() <= 10 &&
                        version.find_first_not_of("0123456789") == std::string::npos;
    return digits ? version : std::string();
}

std::tm localTime(std::time_t when)
{
    std::tm local{};
    localtime_r(&when, &local);
    return local;
}

template <typename... Values> std::string format(const char *form, Values... values)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, values...);
    return text.data();
}

std::string inNumbers(std::time_t when)
{
    const std::tm day = localTime(when);
    return format("%04d.%02d.%02d", day.tm_year + 1900, day.tm_mon + 1, day.tm_mday);
}

std::string inWords(std::time_t when)
{
    constexpr std::array<const char *, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm day = localTime(when);
    return format("%d %s %d", day.tm_mday, kMonths.at(static_cast<std::size_t>(day.tm_mon)),
                  day.tm_year + 1900);
}

std::string versionOf(const std::string &folder, const Content &content)
{
    std::string version;
    for (const std::string &file : content.official) {
        std::string path = folder;
        path.append("/").append(file);
        const std::string number = officialVersion(path);
        if (number.empty())
            continue;
        if (!version.empty())
            version += ", ";
        version.append(file, 0, file.find('.'));
        version += ' ';
        version += number;
    }
    return version.empty() && content.newest != 0 ? inNumbers(content.newest) : version;
}

SignatureSet describeFolder(const std::string &kind, const std::string &folder,
                            const Content &content)
{
    return {kind, folder, versionOf(folder, content), content.newest};
}

} // namespace

SignatureSet chooseSignatures(const std::string &chosenFolder, const std::string &stateFolder)
{
    if (!chosenFolder.empty())
        return describeFolder("chosen", chosenFolder, look(chosenFolder));
    const std::string updated = updatedSignatures(stateFolder);
    const Content fresh = look(updated);
    if (fresh.databases != 0)
        return describeFolder("updated", updated, fresh);
    const Content distribution = look(systemSignatures());
    if (!distribution.official.empty())
        return describeFolder("system", systemSignatures(), distribution);
    const std::string own = builtInSignatures();
    return describeFolder("built-in", own, look(own));
}

std::string describe(const SignatureSet &set, unsigned count)
{
    std::string text = set.kind;
    if (set.kind == "chosen")
        text += " (" + files::printable(set.folder) + ")";
    if (count != 0)
        text += ", " + std::to_string(count) + (count == 1 ? " signature" : " signatures");
    if (set.time != 0)
        text += ", " + inWords(set.time);
    return text;
}

} // namespace talo::service
