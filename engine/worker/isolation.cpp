#include "isolation.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
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

constexpr uid_t kNobody = 65534;
constexpr unsigned kTemporaryFiles = 65536;

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
int makeTmpfs(std::uint64_t size, uid_t owner, gid_t group)
{
    const int context = fsopen("tmpfs", FSOPEN_CLOEXEC);
    if (context < 0)
        return -1;
    const auto set = [context](const char *key, const std::string &value) {
        return fsconfig(context, FSCONFIG_SET_STRING, key, value.c_str(), 0) == 0;
    };
    int folder = -1;
    if (set("size", std::to_string(size)) && set("nr_inodes", std::to_string(kTemporaryFiles)) &&
        set("mode", "0700") && set("uid", std::to_string(owner)) &&
        set("gid", std::to_string(group)) &&
        fsconfig(context, FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) == 0) {
        const int mounted = fsmount(context, FSMOUNT_CLOEXEC,
                                    MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC);
        if (mounted >= 0) {
            folder = openat(mounted, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            close(mounted);
        }
    }
    close(context);
    return folder;
}

int makeFolder(int parent, unsigned slot, uid_t owner, gid_t group)
{
    const std::string name = std::to_string(slot);
    if (mkdirat(parent, name.c_str(), 0700) != 0)
        return -1;
    const int folder =
        openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder >= 0 && fchown(folder, owner, group) != 0) {
        close(folder);
        return -1;
    }
    return folder;
}

bool dropCapabilities()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[2] = {};
    return syscall(SYS_capset, &header, none) == 0;
}

std::string dropPrivileges()
{
    if (geteuid() == 0 &&
        (setgroups(0, nullptr) != 0 || setresgid(kNobody, kNobody, kNobody) != 0 ||
         setresuid(kNobody, kNobody, kNobody) != 0))
        return because("root's identity cannot be given up");
    // Whoever was started set-user-id or the like, or sees the above fail in silence.
    if (getuid() == 0 || geteuid() == 0 || setuid(0) == 0)
        return "root's identity could be taken up again";
    if (!dropCapabilities())
        return because("capabilities cannot be given up");
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
    const bool root = geteuid() == 0;
    const uid_t owner = root ? kNobody : geteuid();
    const gid_t group = root ? static_cast<gid_t>(kNobody) : getegid();
    const bool namespaces = enterNamespaces();
    for (unsigned slot = 0; slot < slots; ++slot) {
        int folder = namespaces ? makeTmpfs(temporarySize, owner, group) : -1;
        if (folder < 0)
            folder = makeFolder(scratchFolder, slot, owner, group);
        if (folder < 0) {
            result.failure = because("no temporary folder can be made");
            return result;
        }
        result.scratch.push_back(folder);
    }
    result.failure = dropPrivileges();
    return result;
}

} // namespace talo::worker
