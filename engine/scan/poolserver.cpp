#include "poolserver.h"

#include "scan/workerprotocol.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

namespace talo::scan
{

namespace
{

using files::UniqueFd;

// Out of the way of the numbers the server expects its descriptors at.
UniqueFd raised(UniqueFd fd)
{
    return UniqueFd(fd ? fcntl(fd.get(), F_DUPFD_CLOEXEC, 16) : -1);
}

// Spawned, never forked: other threads of this process may hold any lock.
int spawn(const std::string &program, int control, int signatures, int scratch, pid_t &pid)
{
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, control, protocol::kControlFd);
    posix_spawn_file_actions_adddup2(&actions, signatures, protocol::kSignaturesFd);
    posix_spawn_file_actions_adddup2(&actions, scratch, protocol::kScratchFd);
    posix_spawn_file_actions_addclosefrom_np(&actions, protocol::kScratchFd + 1);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                              POSIX_SPAWN_SETPGROUP);
    // Nothing of ours decides how the program runs: no preloads, no locale, no search path. With a
    // time zone given, no scan looks for the local one.
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

std::string cannot(const std::string &what, int error)
{
    return what + ": " + std::strerror(error);
}

} // namespace

std::unique_ptr<PoolServer> PoolServer::start(const PoolConfig &config, unsigned workers,
                                              const std::string &signatureFolder,
                                              std::string &failure)
{
    const UniqueFd signatures =
        raised(UniqueFd(open(signatureFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)));
    if (!signatures) {
        failure = cannot("the signature folder " + signatureFolder + " cannot be opened", errno);
        return nullptr;
    }
    std::unique_ptr<PoolServer> server(new PoolServer);
    if (!server->scratch_.valid()) {
        failure = cannot("no temporary folder can be made", errno);
        return nullptr;
    }
    const UniqueFd scratch(fcntl(server->scratch_.fd(), F_DUPFD_CLOEXEC, 16));
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        failure = cannot("no socket can be made", errno);
        return nullptr;
    }
    server->control_.reset(ends[0]);
    const UniqueFd theirs = raised(UniqueFd(ends[1]));
    if (!scratch || !theirs) {
        failure = cannot("no socket can be made", errno);
        return nullptr;
    }
    const int error =
        spawn(config.workerProgram, theirs.get(), signatures.get(), scratch.get(), server->pid_);
    if (error != 0) {
        server->pid_ = -1;
        failure = cannot(config.workerProgram + " cannot be started", error);
        return nullptr;
    }
    protocol::Configure configure;
    configure.slots = workers;
    configure.maxFileSize = config.maxFileSize;
    configure.maxMemory = config.maxMemory;
    configure.maxTemporary = config.maxTemporary;
    // A server that is gone already is noticed at its socket's end.
    protocol::send(server->control(), configure, MSG_DONTWAIT);
    return server;
}

PoolServer::~PoolServer()
{
    control_.reset();
    if (pid_ <= 0)
        return;
    kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void PoolServer::end()
{
    shutdown(control_.get(), SHUT_WR);
}

} // namespace talo::scan
