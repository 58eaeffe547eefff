#include "isolation.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

// Made by the installation, for the workers alone: what else runs as "nobody" is none of theirs.
constexpr char kOwnUser[] = "talo-scan";
constexpr uid_t kNobody = 65534;
constexpr unsigned kTemporaryFiles = 65536;
constexpr std::uint64_t kEmptySize = 4096; // the least there is; none would be no limit

struct Identity {
    uid_t user = kNobody;
    gid_t group = kNobody;
};

Identity identityFor(bool root)
{
    if (!root)
        return {geteuid(), getegid()};
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd *found = nullptr;
    if (getpwnam_r(kOwnUser, &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_uid != 0 && found->pw_gid != 0)
        return {found->pw_uid, found->pw_gid};
    return {};
}

std::string because(const char *what)
{
    return std::string(what) + ": " + std::strerror(errno);
}

bool write(const char *path, const std::string &text)
{
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

// Namespaces of our own without any privilege of the caller's. The identity stays what it is.
bool enterUserNamespace(int others)
{
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | others) != 0)
        return false;
    return write("/proc/self/setgroups", "deny") &&
           write("/proc/self/uid_map", uid + " " + uid + " 1") &&
           write("/proc/self/gid_map", gid + " " + gid + " 1");
}

bool enterNamespaces()
{
    const int kinds = CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWNS;
    if (geteuid() == 0 ? unshare(kinds) != 0 : !enterUserNamespace(kinds))
        return false;
    // Slave rather than private: a drive that is unmounted must not stay busy on our account.
    return mount("none", "/", nullptr, MS_REC | MS_SLAVE, nullptr) == 0;
}

// A tmpfs that is mounted nowhere: only who holds the descriptor can reach it, and it goes with the
// last of them.
int makeTmpfs(std::uint64_t size, const Identity &owner, unsigned attributes = 0)
{
    const int context = fsopen("tmpfs", FSOPEN_CLOEXEC);
    if (context < 0)
        return -1;
    const auto set = [context](const char *key, const std::string &value) {
        return fsconfig(context, FSCONFIG_SET_STRING, key, value.c_str(), 0) == 0;
    };
    int folder = -1;
    if (set("size", std::to_string(size)) && set("nr_inodes", std::to_string(kTemporaryFiles)) &&
        set("mode", "0700") && set("uid", std::to_string(owner.user)) &&
        set("gid", std::to_string(owner.group)) &&
        fsconfig(context, FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) == 0) {
        const int mounted =
            fsmount(context, FSMOUNT_CLOEXEC,
                    MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC | attributes);
        if (mounted >= 0) {
            folder = openat(mounted, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            close(mounted);
        }
    }
    close(context);
    return folder;
}

int makeFolder(int parent, unsigned slot, const Identity &owner)
{
    const std::string name = std::to_string(slot);
    if (mkdirat(parent, name.c_str(), 0700) != 0)
        return -1;
    const int folder =
        openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder >= 0 && fchown(folder, owner.user, owner.group) != 0) {
        close(folder);
        return -1;
    }
    return folder;
}

constexpr std::uint32_t kNoCapability = 0;
constexpr std::uint32_t kChangeRoot = 1u << CAP_SYS_CHROOT;

bool limitCapabilities(std::uint32_t kept)
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[2] = {};
    sets[0].effective = kept;
    sets[0].permitted = kept;
    return syscall(SYS_capset, &header, sets) == 0;
}

// All but the one that closeFileSystem() needs, where it can be had.
std::string dropPrivileges(const Identity &identity)
{
    if (geteuid() == 0 && (prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) != 0 || setgroups(0, nullptr) != 0 ||
                           setresgid(identity.group, identity.group, identity.group) != 0 ||
                           setresuid(identity.user, identity.user, identity.user) != 0))
        return because("root's identity cannot be given up");
    if (!limitCapabilities(kChangeRoot) && !limitCapabilities(kNoCapability))
        return because("capabilities cannot be given up");
    // Whoever was started set-user-id or the like, or sees the above fail in silence.
    if (getuid() == 0 || geteuid() == 0 || setuid(0) == 0)
        return "root's identity could be taken up again";
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return because("new privileges cannot be ruled out");
    // After the change of identity, which clears both.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || prctl(PR_SET_DUMPABLE, 0) != 0)
        return because("the process cannot be protected");
    return {};
}

} // namespace

Isolation isolate(unsigned slots, std::uint64_t temporarySize, int scratchFolder)
{
    Isolation result;
    umask(077);
    const Identity identity = identityFor(geteuid() == 0);
    const bool namespaces = enterNamespaces();
    bool allMounted = namespaces;
    for (unsigned slot = 0; slot < slots; ++slot) {
        int folder = namespaces ? makeTmpfs(temporarySize, identity) : -1;
        allMounted = allMounted && folder >= 0;
        if (folder < 0)
            folder = makeFolder(scratchFolder, slot, identity);
        if (folder < 0) {
            result.failure = because("no temporary folder can be made");
            return result;
        }
        result.scratch.push_back(folder);
    }
    // A folder that is no file system of its own has the whole one above it, whatever the root is.
    if (allMounted)
        result.emptyRoot = makeTmpfs(kEmptySize, identity, MOUNT_ATTR_RDONLY);
    result.nullDevice = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (result.nullDevice < 0) {
        result.failure = because("/dev/null cannot be opened");
        return result;
    }
    result.failure = dropPrivileges(identity);
    // By the identity that reads it: what it tells belongs to this process alone.
    result.memoryFigures = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    if (result.failure.empty() && result.memoryFigures < 0)
        result.failure = because("the use of memory cannot be read");
    return result;
}

std::string closeFileSystem(Isolation &isolation)
{
    if (isolation.emptyRoot >= 0) {
        isolation.fileSystemClosed = fchdir(isolation.emptyRoot) == 0 && chroot(".") == 0;
        close(isolation.emptyRoot);
        isolation.emptyRoot = -1;
    }
    return limitCapabilities(kNoCapability) ? std::string()
                                            : because("capabilities cannot be given up");
}

} // namespace talo::worker
