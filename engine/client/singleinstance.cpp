// IsTaloAVRunning. Called before the application object exists, so nothing of Qt is used here.
#include "engine/processchecks.h"

#include "client/boundary.h"
#include "files/uniquefd.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace
{

using talo::files::UniqueFd;

constexpr std::size_t kLongestName = 64;

bool wellFormed(const std::string &name)
{
    if (name.empty() || name.size() > kLongestName)
        return false;
    return name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                  "0123456789_-") == std::string::npos;
}

// A folder that is this user's and that nobody else can put anything into.
UniqueFd openPrivate(const std::string &folder)
{
    UniqueFd fd(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {
    };
    if (!fd || fstat(fd.get(), &status) != 0 || status.st_uid != geteuid() ||
        (status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        return UniqueFd();
    return fd;
}

UniqueFd lockFolder()
{
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') {
        UniqueFd fd = openPrivate(runtime);
        if (fd)
            return fd;
    }
    const std::string own = "/tmp/taloantivirus-" + std::to_string(geteuid());
    if (mkdir(own.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        return UniqueFd();
    return openPrivate(own);
}

// Locks that this process holds; they end with it. Never destroyed, so that the locks outlive
// every other part of the process.
std::map<std::string, UniqueFd> &held()
{
    static auto *const locks = new std::map<std::string, UniqueFd>;
    return *locks;
}

constexpr int kMayRun = 1;
constexpr int kRunsAlready = 0;

int claim(const char *name)
{
    if (name == nullptr || !wellFormed(name))
        return kMayRun;
    static std::mutex mutex;
    const std::lock_guard<std::mutex> guard(mutex);
    if (held().count(name) != 0)
        return kMayRun;
    const UniqueFd folder = lockFolder();
    if (!folder)
        return kMayRun;
    // Closed in programs that this process starts: a scan must not keep the panel's lock.
    UniqueFd lock(openat(folder.get(), (std::string(name) + ".lock").c_str(),
                         O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK,
                         S_IRUSR | S_IWUSR));
    struct stat status {
    };
    if (!lock || fstat(lock.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != geteuid())
        return kMayRun;
    if (flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return errno == EWOULDBLOCK ? kRunsAlready : kMayRun;
    held().emplace(name, std::move(lock));
    return kMayRun;
}

} // namespace

int IsTaloAVRunning(char const *name)
{
    return talo::client::guarded(kMayRun, [&] { return claim(name); });
}
