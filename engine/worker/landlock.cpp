#include "confinement.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace talo::worker
{

namespace
{

// The newest layout known to us: distributions' headers lag behind their kernels.
struct RulesetAttributes {
    std::uint64_t fileSystem = 0;
    std::uint64_t network = 0; // since ABI 4
    std::uint64_t scoped = 0;  // since ABI 6
};

constexpr std::uint64_t kRefer = 1ull << 13;    // since ABI 2
constexpr std::uint64_t kTruncate = 1ull << 14; // since ABI 3
constexpr std::uint64_t kIoctl = 1ull << 15;    // since ABI 5

std::size_t attributesSize(long abi)
{
    if (abi >= 6)
        return sizeof(RulesetAttributes);
    return abi >= 4 ? offsetof(RulesetAttributes, scoped) : offsetof(RulesetAttributes, network);
}

constexpr int kNoFolder = -1;

long landlockAbi()
{
    return syscall(SYS_landlock_create_ruleset, nullptr, 0,
                   static_cast<unsigned>(LANDLOCK_CREATE_RULESET_VERSION));
}

std::string confine(int folder)
{
    const long abi = landlockAbi();
    if (abi < 1)
        return {};
    RulesetAttributes attributes;
    attributes.fileSystem = kRefer - 1; // everything known to ABI 1
    if (abi >= 2)
        attributes.fileSystem |= kRefer;
    if (abi >= 3)
        attributes.fileSystem |= kTruncate;
    if (abi >= 5)
        attributes.fileSystem |= kIoctl;
    attributes.network = 3; // binding and connecting
    attributes.scoped = 3;  // abstract sockets and signals of others

    landlock_path_beneath_attr rule{};
    rule.parent_fd = folder;
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE |
                          LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                          LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                          LANDLOCK_ACCESS_FS_MAKE_REG;
    if (abi >= 3)
        rule.allowed_access |= kTruncate;

    const int ruleset =
        static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, attributesSize(abi), 0));
    if (ruleset < 0)
        return std::string("the file system cannot be closed off: ") + std::strerror(errno);
    const bool confined =
        (folder == kNoFolder ||
         syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0) &&
        syscall(SYS_landlock_restrict_self, ruleset, 0) == 0;
    const int error = errno;
    close(ruleset);
    if (!confined)
        return std::string("the file system cannot be closed off: ") + std::strerror(error);
    return {};
}

} // namespace

bool canConfineToFolder()
{
    return landlockAbi() >= 1;
}

std::string confineToFolder(int folder)
{
    return confine(folder);
}

std::string confineToNothing()
{
    return confine(kNoFolder);
}

} // namespace talo::worker
