#include "files/removal.h"

#include "files/printable.h"
#include "files/safeopen.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace talo::files
{

namespace
{

constexpr char kCaptured[] = "captured";

std::string captureFolderName(const std::string &token)
{
    return ".talo-capture-" + token;
}

// FAT and its like record no owners: no folder there can be private. But they have no links
// either, and whoever can exchange an entry there can delete every other one as well, so that a
// race wins nothing that was not for the taking.
bool recordsNoOwners(int folder)
{
    struct statfs system = {};
    if (fstatfs(folder, &system) != 0)
        return false;
    constexpr decltype(system.f_type) kExfat = 0x2011BAB0;
    return system.f_type == MSDOS_SUPER_MAGIC || system.f_type == kExfat;
}

bool isPrivate(const struct stat &folder)
{
    return folder.st_uid == geteuid() && (folder.st_mode & 0777u) == 0700u;
}

Result<UniqueFd> openCaptureFolder(int folder, const std::string &name)
{
    auto opened = openFolder(folder, name);
    if (!opened)
        return opened.error();
    if (!isPrivate(opened->status) && !recordsNoOwners(opened->fd.get()))
        return Error{EPERM, "no private folder can be made beside it"};
    return std::move(opened->fd);
}

// Puts what was captured back under its name.
std::optional<Error> putBack(int capture, int folder, const std::string &name)
{
    if (renameat2(capture, kCaptured, folder, name.c_str(), RENAME_NOREPLACE) == 0)
        return std::nullopt;
    return systemError(errno);
}

Error keptError(const Error &cause, const std::string &captureName)
{
    return {cause.code, "what stands under this name was exchanged meanwhile; it is kept in the "
                        "folder " +
                            printable(captureName) +
                            " beside it and could not be put back: " + cause.text};
}

constexpr int kNothing = -1; // comes in the place of what is removed

// Gives the name to an open file that has none. Nothing to give it to is done as well.
bool giveName(int replacement, int folder, const std::string &name)
{
    const std::string self = "/proc/self/fd/" + std::to_string(replacement);
    return replacement == kNothing ||
           linkat(AT_FDCWD, self.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

std::optional<Error> noObjection()
{
    return std::nullopt;
}

// Decides about what was captured: unlinks it if it is `wanted`, else puts it back.
std::optional<Error> settle(int capture, int folder, const std::string &name,
                            const Identity &wanted, const std::string &captureName,
                            int replacement = kNothing, const LastWord &lastWord = noObjection)
{
    struct stat captured = {};
    const bool known = fstatat(capture, kCaptured, &captured, AT_SYMLINK_NOFOLLOW) == 0;
    const int failure = errno;
    const bool meant = known && identityOf(captured) == wanted;
    const std::optional<Error> objection = meant ? lastWord() : std::nullopt;
    if (meant && !objection && giveName(replacement, folder, name) &&
        unlinkat(capture, kCaptured, 0) == 0)
        return std::nullopt;
    Error error = systemError(known ? errno : failure);
    if (objection)
        error = *objection;
    else if (known && !meant)
        error = Error{ESTALE, "another file has its name now"};
    if (const auto notPutBack = putBack(capture, folder, name))
        return keptError(*notPutBack, captureName);
    return error;
}

} // namespace

namespace
{

std::optional<Error> exchange(int folder, const std::string &name, const Identity &wanted,
                              const std::string &token, int replacement, const LastWord &lastWord)
{
    const std::string captureName = captureFolderName(token);
    if (mkdirat(folder, captureName.c_str(), 0700) != 0)
        return systemError(errno);
    auto capture = openCaptureFolder(folder, captureName);
    if (!capture) {
        unlinkat(folder, captureName.c_str(), AT_REMOVEDIR);
        return capture.error();
    }
    std::optional<Error> error;
    if (renameat2(folder, name.c_str(), capture->get(), kCaptured, RENAME_NOREPLACE) != 0)
        error = systemError(errno);
    else
        error = settle(capture->get(), folder, name, wanted, captureName, replacement, lastWord);
    // Stays, and is named in the error, if what was captured could not be put back.
    unlinkat(folder, captureName.c_str(), AT_REMOVEDIR);
    return error;
}

} // namespace

std::optional<Error> removeExactly(int folder, const std::string &name, const Identity &wanted,
                                   const std::string &token)
{
    return exchange(folder, name, wanted, token, kNothing, noObjection);
}

std::optional<Error> removeExactlyIf(int folder, const std::string &name, const Identity &wanted,
                                     const std::string &token, const LastWord &lastWord)
{
    return exchange(folder, name, wanted, token, kNothing, lastWord);
}

std::optional<Error> replaceExactly(int folder, const std::string &name, const Identity &wanted,
                                    const std::string &token, int replacement)
{
    return exchange(folder, name, wanted, token, replacement, noObjection);
}

std::optional<Error> recoverCapture(int folder, const std::string &name, const Identity &wanted,
                                    const std::string &token)
{
    const std::string captureName = captureFolderName(token);
    auto capture = openCaptureFolder(folder, captureName);
    if (!capture) {
        if (capture.error().code == ENOENT)
            return std::nullopt;
        return capture.error();
    }
    std::optional<Error> error;
    struct stat captured = {};
    if (fstatat(capture->get(), kCaptured, &captured, AT_SYMLINK_NOFOLLOW) == 0) {
        error = settle(capture->get(), folder, name, wanted, captureName);
        // Having put back what was not ours to remove is what was asked here.
        if (error && error->code == ESTALE)
            error.reset();
    }
    unlinkat(folder, captureName.c_str(), AT_REMOVEDIR);
    return error;
}

} // namespace talo::files
