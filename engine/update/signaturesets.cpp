#include "update/signaturesets.h"

#include "files/randomname.h"
#include "update/databasefile.h"
#include "update/plainfolder.h"
#include "update/workfolder.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace talo::update
{

namespace
{

constexpr char kSets[] = "sets";
constexpr char kCurrent[] = "current";
constexpr char kPrevious[] = "previous";
constexpr char kNew[] = ".new";

// The workers read the sets as another user, through a descriptor of the folder.
constexpr mode_t kFolderMode = 0755;
constexpr mode_t kFileMode = 0644;

std::string makeFolder(const std::string &path, mode_t mode)
{
    if (mkdir(path.c_str(), mode) != 0 && errno != EEXIST)
        return because(path + " cannot be made", errno);
    if (chmod(path.c_str(), mode) != 0)
        return because(path + " cannot be opened to the scan workers", errno);
    return std::string();
}

bool holdsDatabases(const std::string &set)
{
    for (const std::string &file : plainFiles(set))
        if (isDatabase(file))
            return true;
    return false;
}

} // namespace

SignatureSets::SignatureSets(std::string folder, InUse inUse)
    : folder_(std::move(folder)), inUse_(std::move(inUse))
{
}

// Links lead to "sets/ID" and nowhere else.
std::string SignatureSets::target(const char *link) const
{
    std::array<char, PATH_MAX> text{};
    const ssize_t length = readlink(path(link).c_str(), text.data(), text.size());
    const std::string to(text.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::string prefix = std::string(kSets) + "/";
    if (to.compare(0, prefix.size(), prefix) != 0 || to.find('/', prefix.size()) != to.npos ||
        to.find('.', prefix.size()) != to.npos)
        return std::string();
    const std::string set = folder_ + "/" + to;
    return holdsDatabases(set) ? set : std::string();
}

std::string SignatureSets::current() const
{
    const std::lock_guard lock(mutex_);
    return target(kCurrent);
}

std::string SignatureSets::previous() const
{
    const std::lock_guard lock(mutex_);
    const std::string before = target(kPrevious);
    return before == current() ? std::string() : before;
}

std::string SignatureSets::open(std::string &notice)
{
    const std::lock_guard lock(mutex_);
    std::string failure = makeFolder(folder_, S_IRWXU);
    if (failure.empty())
        failure = makeFolder(path(kSets), kFolderMode);
    if (!failure.empty())
        return failure;
    if (current().empty() && !previous().empty()) {
        failure = fallBack();
        if (failure.empty())
            notice = "the updated signatures are gone; the set before them is used again";
    }
    WorkFolder::sweep(workNote());
    prune();
    return failure;
}

std::string SignatureSets::workNote() const
{
    return path("work");
}

std::string SignatureSets::begin(std::string &failure)
{
    const std::lock_guard lock(mutex_);
    begun_ = path(kSets) + "/" + files::randomName(16);
    failure = makeFolder(begun_, kFolderMode);
    return begun_;
}

// Replaces the link as one step.
std::string SignatureSets::point(const char *link, const std::string &set) const
{
    const std::string fresh = path(link) + kNew;
    const std::string to = std::string(kSets) + "/" + set.substr(set.find_last_of('/') + 1);
    unlink(fresh.c_str());
    if (symlink(to.c_str(), fresh.c_str()) != 0 ||
        renameat(AT_FDCWD, fresh.c_str(), AT_FDCWD, path(link).c_str()) != 0)
        return because(path(link) + " cannot be replaced", errno);
    return flushFolder(folder_);
}

std::string SignatureSets::take(const std::string &set)
{
    const std::lock_guard lock(mutex_);
    std::string failure = flushFolder(set);
    if (failure.empty())
        failure = flushFolder(path(kSets));
    const std::string before = current();
    if (failure.empty() && !before.empty())
        failure = point(kPrevious, before);
    if (failure.empty())
        failure = point(kCurrent, set);
    if (failure.empty()) {
        begun_.clear();
        prune();
    }
    return failure;
}

void SignatureSets::discard(const std::string &set)
{
    const std::lock_guard lock(mutex_);
    if (set.empty() || set == current() || set == previous())
        return;
    begun_.clear();
    removeTree(set);
}

std::string SignatureSets::fallBack()
{
    const std::lock_guard lock(mutex_);
    const std::string before = previous();
    if (before.empty())
        return "there is no earlier set of signatures";
    std::string failure = point(kCurrent, before);
    if (failure.empty())
        prune();
    return failure;
}

void SignatureSets::prune() const
{
    const std::set<std::string> kept{current(), previous(), begun_};
    const std::string sets = path(kSets);
    DIR *const entries = opendir(sets.c_str());
    if (entries == nullptr)
        return;
    std::vector<std::string> stale;
    while (const dirent *entry = readdir(entries)) {
        const std::string name = entry->d_name;
        const std::string set = std::string(sets).append("/").append(name);
        if (name != "." && name != ".." && kept.count(set) == 0 && !(inUse_ && inUse_(set)))
            stale.push_back(set);
    }
    closedir(entries);
    for (const std::string &set : stale)
        removeTree(set);
    for (const char *link : {kCurrent, kPrevious})
        unlink((path(link) + kNew).c_str());
}

std::string takeDatabases(const std::string &download, const std::vector<std::string> &files,
                          uid_t from, const std::string &set)
{
    CopyRule rule;
    rule.from = from;
    rule.owner = geteuid();
    rule.group = getegid();
    rule.mode = kFileMode;
    rule.flush = true;
    std::string failure;
    for (const std::string &file : files) {
        std::string source = download;
        std::string target = set;
        source.append("/").append(file);
        target.append("/").append(file);
        failure = copyFile(source, target, rule);
        if (!failure.empty())
            break;
    }
    return failure;
}

} // namespace talo::update
