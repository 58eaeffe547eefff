#include "service/signatureset.h"

#include "files/printable.h"
#include "service/paths.h"
#include "store/moments.h"
#include "update/databasefile.h"

#include <algorithm>
#include <ctime>
#include <dirent.h>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <system_error>

namespace talo::service
{

namespace
{

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
        if (!update::isDatabase(name) || fstatat(dirfd(entries), name.c_str(), &status, 0) != 0 ||
            !S_ISREG(status.st_mode))
            continue;
        ++content.databases;
        content.newest = std::max(content.newest, status.st_mtime);
        if (update::isOfficial(name))
            content.official.insert(name);
    }
    closedir(entries);
    return content;
}

std::string inNumbers(std::time_t when)
{
    std::tm day{};
    localtime_r(&when, &day);
    char text[16] = {};
    return std::strftime(text, sizeof text, "%Y.%m.%d", &day) != 0 ? text : "";
}

std::string versionOf(const std::string &folder, const Content &content)
{
    std::string version;
    for (const std::string &file : content.official) {
        std::string path = folder;
        path.append("/").append(file);
        const std::uint64_t number = update::officialVersion(path);
        if (number == 0)
            continue;
        if (!version.empty())
            version += ", ";
        version += update::nameOf(file);
        version += ' ';
        version += std::to_string(number);
    }
    return version.empty() && content.newest != 0 ? inNumbers(content.newest) : version;
}

SignatureSet describeFolder(const std::string &kind, const std::string &folder,
                            const Content &content)
{
    return {kind, folder, versionOf(folder, content), content.newest, content.newest};
}

} // namespace

SignatureSet chooseSignatures(const std::string &chosenFolder, const std::string &stateFolder)
{
    if (!chosenFolder.empty())
        return describeFolder("chosen", chosenFolder, look(chosenFolder));
    // Of the set itself and not of the link to it, which may lead to another one the next moment.
    const std::string sets = updatedSignatures(stateFolder) + "/";
    std::error_code error;
    const auto target = std::filesystem::read_symlink(sets + "current", error);
    const std::string updated = sets + (error ? "current" : target.string());
    const Content fresh = look(updated);
    if (fresh.databases != 0) {
        SignatureSet described = describeFolder("updated", updated, fresh);
        // A set is never changed once it is complete.
        struct stat status {
        };
        if (stat(updated.c_str(), &status) == 0)
            described.updated = status.st_mtime;
        return described;
    }
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
        text += ", " + store::dateOf(set.time);
    return text;
}

} // namespace talo::service
