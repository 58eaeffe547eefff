#include "scan/quarantine.h"

#include "files/randomname.h"
#include "files/removal.h"
#include "files/safeopen.h"
#include "scan/folderreader.h"
#include "scan/restore.h"
#include "scan/vaultobject.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sodium.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>

namespace talo::scan
{

using files::Error;
using files::UniqueFd;

namespace
{

constexpr std::string_view kSuffix = ".vault";
constexpr std::size_t kIdLength = 16;

// Ids come from outside: nothing but the digits that newId() gives reaches a file name.
bool isId(std::string_view id)
{
    return id.size() == kIdLength && id.find_first_not_of("0123456789abcdef") == id.npos;
}

std::string newId()
{
    return files::randomName(kIdLength);
}

std::string fileNameOf(const std::string &id)
{
    return id + std::string(kSuffix);
}

files::Result<UniqueFd> openVault(const std::string &path)
{
    UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!folder || fstat(folder.get(), &status) != 0)
        return Error{errno, "the quarantine cannot be opened: " + files::systemError(errno).text};
    if (status.st_uid != geteuid() || (status.st_mode & 0077u) != 0)
        return Error{EPERM, "the quarantine's folder is not private"};
    return folder;
}

Error noSuchObject()
{
    return {ENOENT, "there is no such object in the quarantine"};
}

files::Result<UniqueFd> openObject(int vault, const std::string &id)
{
    if (!isId(id))
        return noSuchObject();
    auto opened = files::openForReading(vault, fileNameOf(id));
    if (!opened)
        return opened.error();
    if (!S_ISREG(opened->status.st_mode))
        return Error{EINVAL, "its file in the quarantine is of another kind"};
    return std::move(opened->fd);
}

std::vector<std::string> idsIn(int vault)
{
    std::vector<std::string> ids;
    FolderReader reader;
    FolderReader::Entry entry;
    while (reader.next(vault, entry) == FolderReader::Answer::Entry) {
        const std::string id = entry.name.substr(0, kIdLength);
        if (isId(id) && entry.name == fileNameOf(id))
            ids.push_back(id);
    }
    return ids;
}

ObjectRecord recordOf(const Quarantine::Catch &file, const struct stat &status)
{
    ObjectRecord record;
    record.key = newObjectKey();
    record.contentSize = static_cast<std::uint64_t>(status.st_size);
    record.owner = status.st_uid;
    record.group = status.st_gid;
    record.mode = status.st_mode & 07777u;
    record.accessed = status.st_atim;
    record.modified = status.st_mtim;
    record.arrival = std::time(nullptr);
    record.identity = files::identityOf(status);
    record.path = file.path;
    record.threat = file.threat.substr(0, kMaxThreatLength);
    return record;
}

bool sameTime(const timespec &a, const timespec &b)
{
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// So much stays free for the rest of the system: whoever plants files that are taken for threats
// must not fill the drive that the system's own state lies on.
constexpr std::uint64_t kMostReserve = 200u << 20;

std::optional<Error> lackOfSpace(int vault, const struct stat &file)
{
    struct statvfs drive = {};
    if (fstatvfs(vault, &drive) != 0)
        return files::systemError(errno);
    const std::uint64_t reserve =
        std::min<std::uint64_t>(kMostReserve, drive.f_blocks * drive.f_frsize / 20);
    const std::uint64_t free = drive.f_bavail * drive.f_frsize;
    // A copy has no holes, so the size counts and not what the file takes.
    if (free < reserve || free - reserve < static_cast<std::uint64_t>(file.st_size))
        return files::systemError(ENOSPC);
    return std::nullopt;
}

bool isChanged(const struct stat &before, const struct stat &after)
{
    return after.st_size != before.st_size || !sameTime(after.st_mtim, before.st_mtim);
}

// Without the list, the group's bits of the mode would allow what the list did not.
bool copyAccessList(int from, int to)
{
    constexpr char kList[] = "system.posix_acl_access";
    char list[4096];
    const ssize_t size = fgetxattr(from, kList, list, sizeof list);
    if (size < 0)
        return errno == ENODATA || errno == EOPNOTSUPP;
    return fsetxattr(to, kList, list, static_cast<std::size_t>(size), 0) == 0;
}

// What stands in for a file is the same person's and as open to others. Rights to act as that
// person are not handed on to content that was put together from hostile content.
std::optional<Error> makeAlike(int fd, int original, const struct stat &status)
{
    struct stat own = {};
    if (fstat(fd, &own) != 0)
        return files::systemError(errno);
    const bool alien = own.st_uid != status.st_uid || own.st_gid != status.st_gid;
    const timespec times[2] = {status.st_atim, status.st_mtim};
    if ((alien && fchown(fd, status.st_uid, status.st_gid) != 0) ||
        fchmod(fd, status.st_mode & 0777u) != 0 || !copyAccessList(original, fd) ||
        futimens(fd, times) != 0 || fsync(fd) != 0)
        return files::systemError(errno);
    return std::nullopt;
}

// Writes the object without a name, so that a kill leaves nothing half done.
files::Result<UniqueFd> writeObject(int vault, const Quarantine::Catch &file,
                                    const struct stat &before)
{
    UniqueFd object(openat(vault, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    if (!object)
        return files::systemError(errno);
    ObjectRecord record = recordOf(file, before);
    const std::uint64_t start = encodedSize(record.path.size(), record.threat.size());
    const auto hash =
        convertContent(Conversion::MakeInert, record, file.content, 0, object.get(), start);
    if (!hash)
        return hash.error();
    struct stat after = {};
    if (fstat(file.content, &after) != 0)
        return files::systemError(errno);
    if (isChanged(before, after))
        return Error{EBUSY, "it changed while it was copied"};

    record.contentHash = *hash;
    if (const auto error = writeRecord(object.get(), record))
        return *error;
    if (fsync(object.get()) != 0)
        return files::systemError(errno);
    return object;
}

std::optional<Error> unlinkObject(int vault, const std::string &id)
{
    if (unlinkat(vault, fileNameOf(id).c_str(), 0) != 0 || fsync(vault) != 0)
        return files::systemError(errno);
    return std::nullopt;
}

Quarantine::Outcome failure(const Error &error)
{
    if (error.code == ENOENT)
        return {Quarantine::Result::NotFound, noSuchObject().text};
    return {Quarantine::Result::Failed, error.text};
}

} // namespace

Quarantine::Quarantine(std::string folder) : folder_(std::move(folder))
{
    // Once it has succeeded, which it does but on systems without any source of randomness, further
    // calls do nothing.
    if (sodium_init() < 0)
        std::abort();
    // Whether it is there and private is checked whenever it is used.
    mkdir(folder_.c_str(), 0700);
}

files::Result<Quarantine::Kept> Quarantine::take(const Catch &file)
{
    return keep(file, [&file](const struct stat &status, const std::string &id) {
        return files::removeExactly(file.folder, file.name, files::identityOf(status), id);
    });
}

files::Result<Quarantine::Kept> Quarantine::replace(const Catch &file, const struct stat &asRead,
                                                    int clean)
{
    return keep(file, [&](const struct stat &status, const std::string &id) {
        if (isChanged(asRead, status))
            return std::optional<Error>({EBUSY, "it changed while it was disinfected"});
        if (auto error = makeAlike(clean, file.content, status))
            return error;
        return files::replaceExactly(file.folder, file.name, files::identityOf(status), id, clean);
    });
}

files::Result<Quarantine::Kept> Quarantine::keep(const Catch &file, const Remove &remove)
{
    auto vault = openVault(folder_);
    if (!vault)
        return vault.error();
    struct stat status = {};
    if (fstat(file.content, &status) != 0)
        return files::systemError(errno);
    const auto lack = lackOfSpace(vault->get(), status);
    auto object = lack ? files::Result<UniqueFd>(*lack) : writeObject(vault->get(), file, status);
    if (!object)
        return Error{object.error().code,
                     "no copy for the quarantine could be made: " + object.error().text};

    const std::string id = newId();
    const std::string self = "/proc/self/fd/" + std::to_string(object->get());
    if (linkat(AT_FDCWD, self.c_str(), vault->get(), fileNameOf(id).c_str(), AT_SYMLINK_FOLLOW) ||
        fsync(vault->get()) != 0) {
        const Error error = files::systemError(errno);
        unlinkObject(vault->get(), id);
        return Error{error.code, "no copy for the quarantine could be made: " + error.text};
    }
    if (const auto error = remove(status, id)) {
        unlinkObject(vault->get(), id);
        return *error;
    }
    Kept kept{id, 0};
    if (fstat(file.content, &status) == 0)
        kept.otherNames = status.st_nlink;
    return kept;
}

void Quarantine::recover()
{
    const auto vault = openVault(folder_);
    if (!vault)
        return;
    for (const std::string &id : idsIn(vault->get())) {
        const auto object = openObject(vault->get(), id);
        if (!object)
            continue;
        const auto record = readRecord(object->get());
        if (!record)
            continue;
        const std::size_t slash = record->path.rfind('/');
        const auto folder =
            files::openFolderAsPlace(AT_FDCWD, slash == 0 ? "/" : record->path.substr(0, slash));
        // A folder that is gone holds nothing to recover, and what cannot be put back now stays
        // where it is for the next time.
        if (!folder)
            continue;
        const std::string name = record->path.substr(slash + 1);
        files::recoverCapture(folder->fd.get(), name, record->identity, id);
        // Killed before the original went, or after it came back.
        if (standsInPlace(folder->fd.get(), name, *record))
            unlinkObject(vault->get(), id);
    }
}

std::vector<Quarantine::Object> Quarantine::list() const
{
    std::vector<Object> objects;
    const auto vault = openVault(folder_);
    if (!vault)
        return objects;
    for (const std::string &id : idsIn(vault->get())) {
        const auto object = openObject(vault->get(), id);
        if (!object)
            continue;
        const auto record = readRecord(object->get());
        if (record)
            objects.push_back(
                {id, record->arrival, record->path, record->threat, record->contentSize});
    }
    std::sort(objects.begin(), objects.end(), [](const Object &a, const Object &b) {
        return a.time != b.time ? a.time > b.time : a.id < b.id;
    });
    return objects;
}

Quarantine::Outcome Quarantine::restore(const std::string &id)
{
    const auto vault = openVault(folder_);
    if (!vault)
        return {Result::Failed, vault.error().text};
    const auto object = openObject(vault->get(), id);
    if (!object)
        return failure(object.error());
    const auto record = readRecord(object->get());
    if (!record)
        return {Result::Failed, record.error().text};
    if (const auto error = restoreAsOwner(object->get(), *record))
        return {Result::Failed, error->text};
    if (const auto error = unlinkObject(vault->get(), id))
        return {Result::Failed,
                "it is restored, but its copy stays in the quarantine: " + error->text};
    return {Result::Done, {}};
}

Quarantine::Outcome Quarantine::purge(const std::string &id)
{
    const auto vault = openVault(folder_);
    if (!vault)
        return {Result::Failed, vault.error().text};
    if (!isId(id))
        return failure(noSuchObject());
    if (const auto error = unlinkObject(vault->get(), id))
        return failure(*error);
    return {Result::Done, {}};
}

void Quarantine::expire(std::time_t before)
{
    const auto vault = openVault(folder_);
    if (!vault)
        return;
    for (const std::string &id : idsIn(vault->get())) {
        const auto object = openObject(vault->get(), id);
        struct stat status = {};
        if (!object || fstat(object->get(), &status) != 0)
            continue;
        // A record that cannot be read must not keep its object for ever.
        const auto record = readRecord(object->get());
        if ((record ? record->arrival : status.st_mtime) < before)
            unlinkObject(vault->get(), id);
    }
}

} // namespace talo::scan
