#include "scan/spawn.h"

#include "files/uniquefd.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>

namespace talo::scan
{

namespace
{

constexpr int kFirst = 3;

} // namespace

// Spawned, never forked: other threads of this process may hold any lock.
int spawnBare(const std::string &program, const std::vector<int> &descriptors, pid_t &pid)
{
    // Out of the way of the numbers the program expects its descriptors at.
    std::vector<files::UniqueFd> raised;
    const int behind = kFirst + static_cast<int>(descriptors.size());
    for (const int fd : descriptors) {
        raised.emplace_back(fcntl(fd, F_DUPFD_CLOEXEC, behind));
        if (!raised.back())
            return errno;
    }
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    for (std::size_t i = 0; i < raised.size(); ++i)
        posix_spawn_file_actions_adddup2(&actions, raised[i].get(), kFirst + static_cast<int>(i));
    posix_spawn_file_actions_addclosefrom_np(&actions, behind);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                              POSIX_SPAWN_SETPGROUP);
    // Nothing of ours decides how the program runs: no preloads, no locale, no search path. With a
    // time zone given, no program looks for the local one.
    char zone[] = "TZ=UTC";
    char locale[] = "LC_ALL=C";
    char *environment[] = {zone, locale, nullptr};
    std::string path = program;
    char *arguments[] = {path.data(), nullptr};
    const int error =
        posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments, environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

} // namespace talo::scan
