#include "scan/restore.h"

#include "files/randomname.h"
#include "files/safeopen.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace talo::scan
{

using files::Error;
using files::UniqueFd;

namespace
{

// Takes the owner's place in this thread alone. The C library's calls would change every thread of
// the process, and a forked child of a program with threads may not even allocate memory; the bare
// system calls act on the calling thread. Only the effective ids change: they decide what may be
// opened, while the real ones stay root's, so that the owner cannot send this process signals.
std::optional<Error> becomeOwner(const ObjectRecord &record)
{
    static_assert(sizeof(long) == 8, "on 32-bit systems these calls may take short ids");
    constexpr long kKeep = -1;
    if (syscall(SYS_setgroups, 0, nullptr) != 0 ||
        syscall(SYS_setresgid, kKeep, long{record.group}, kKeep) != 0 ||
        syscall(SYS_setresuid, kKeep, long{record.owner}, kKeep) != 0)
        return files::systemError(errno);
    return std::nullopt;
}

std::optional<Error> setAttributes(int fd, const ObjectRecord &record, Creation creation)
{
    // The ids that the calling thread acts with; the C library would answer the same.
    const bool isOwner = record.owner == geteuid();
    struct stat status = {};
    bool done = fstat(fd, &status) == 0;
    // A folder may hand its own group down.
    if (done && isOwner && status.st_gid != record.group)
        done = fchown(fd, static_cast<uid_t>(-1), record.group) == 0;
    // Rights to act as the owner are for the owner's file alone.
    const mode_t mode = isOwner ? record.mode : record.mode & 0777u;
    done = done && fchmod(fd, mode) == 0;
    const timespec times[2] = {record.accessed, record.modified};
    done = done && futimens(fd, times) == 0;
    // File systems that need a hidden name mostly keep neither owners nor modes.
    if (done || creation == Creation::Hidden)
        return std::nullopt;
    return files::systemError(errno);
}

std::optional<Error> fill(int fd, int object, const ObjectRecord &record, Creation creation)
{
    const std::uint64_t start = encodedSize(record.path.size(), record.threat.size());
    const auto hash = convertContent(Conversion::MakeLive, record, object, start, fd, 0);
    if (!hash)
        return hash.error();
    if (*hash != record.contentHash)
        return Error{0, "its copy in the quarantine is damaged"};
    if (auto error = setAttributes(fd, record, creation))
        return error;
    if (fsync(fd) != 0)
        return files::systemError(errno);
    return std::nullopt;
}

std::string hiddenName()
{
    // Not to be guessed, so that no one else makes or takes the name.
    return ".talo-restore-" + files::randomName(16);
}

// Gives the complete file its name.
std::optional<Error> giveName(int folder, int fd, const std::string &hidden,
                              const std::string &name)
{
    int failed = 0;
    if (hidden.empty()) {
        const std::string self = "/proc/self/fd/" + std::to_string(fd);
        failed = linkat(AT_FDCWD, self.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW);
    } else {
        failed = renameat2(folder, hidden.c_str(), folder, name.c_str(), RENAME_NOREPLACE);
    }
    if (failed)
        return files::systemError(errno);
    return std::nullopt;
}

// The quarantine's copy goes next, so the new name must be on disk.
std::optional<Error> flush(int folder, int fd)
{
    // A folder that one may write to need not be readable.
    const UniqueFd readable(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if ((readable ? fsync(readable.get()) : syncfs(fd)) != 0)
        return files::systemError(errno);
    return std::nullopt;
}

UniqueFd create(int folder, const std::string &hidden)
{
    if (hidden.empty())
        return UniqueFd(openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    constexpr int kNew = O_CREAT | O_EXCL | O_NOFOLLOW | O_WRONLY | O_CLOEXEC;
    return UniqueFd(openat(folder, hidden.c_str(), kNew, 0600));
}

} // namespace

std::optional<Error> putInPlace(int object, const ObjectRecord &record, Creation creation)
{
    const std::size_t slash = record.path.rfind('/');
    const std::string fileName = record.path.substr(slash + 1);
    auto folder =
        files::openFolderAsPlace(AT_FDCWD, slash == 0 ? "/" : record.path.substr(0, slash));
    if (!folder)
        return Error{folder.error().code,
                     "the folder it came from cannot be opened: " + folder.error().text};
    const std::string hidden = creation == Creation::Hidden ? hiddenName() : std::string();
    const UniqueFd file = create(folder->fd.get(), hidden);
    if (!file)
        return files::systemError(errno);
    auto error = fill(file.get(), object, record, creation);
    if (!error)
        error = giveName(folder->fd.get(), file.get(), hidden, fileName);
    if (error) {
        if (!hidden.empty())
            unlinkat(folder->fd.get(), hidden.c_str(), 0);
        return error;
    }
    return flush(folder->fd.get(), file.get());
}

std::optional<Error> restoreAsOwner(int object, const ObjectRecord &record)
{
    const auto put = [&]() -> std::optional<Error> {
        auto error = putInPlace(object, record, Creation::Unnamed);
        if (error && (error->code == EOPNOTSUPP || error->code == EISDIR))
            error = putInPlace(object, record, Creation::Hidden);
        return error;
    };
    if (geteuid() != 0)
        return put();
    std::optional<Error> error;
    std::thread([&] {
        error = becomeOwner(record);
        if (!error)
            error = put();
    }).join(); // the thread's rights end with it
    return error;
}

bool standsInPlace(int folder, const std::string &name, const ObjectRecord &record)
{
    const auto file = files::openForReading(folder, name);
    // Most often something tells them apart that costs no reading.
    if (!file || !S_ISREG(file->status.st_mode) ||
        static_cast<std::uint64_t>(file->status.st_size) != record.contentSize ||
        file->status.st_mtim.tv_sec != record.modified.tv_sec ||
        file->status.st_mtim.tv_nsec != record.modified.tv_nsec)
        return false;
    const UniqueFd nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const auto hash =
        convertContent(Conversion::MakeInert, record, file->fd.get(), 0, nowhere.get(), 0);
    return hash && *hash == record.contentHash;
}

} // namespace talo::scan
