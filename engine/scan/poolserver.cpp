#include "poolserver.h"

#include "scan/poolqueue.h"
#include "scan/spawn.h"
#include "scan/workerprotocol.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>

namespace talo::scan
{

namespace
{

using files::UniqueFd;

std::string cannot(const std::string &what, int error)
{
    return what + ": " + std::strerror(error);
}

} // namespace

std::unique_ptr<PoolServer> PoolServer::start(const PoolConfig &config, unsigned workers,
                                              Priority priority, std::string &failure)
{
    const UniqueFd signatures(
        open(config.signatureFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!signatures) {
        failure =
            cannot("the signature folder " + config.signatureFolder + " cannot be opened", errno);
        return nullptr;
    }
    std::unique_ptr<PoolServer> server(new PoolServer);
    if (!server->scratch_.valid()) {
        failure = cannot("no temporary folder can be made", errno);
        return nullptr;
    }
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
        failure = cannot("no socket can be made", errno);
        return nullptr;
    }
    server->control_.reset(ends[0]);
    const UniqueFd theirs(ends[1]);
    const int error =
        spawnBare(config.workerProgram, {theirs.get(), signatures.get(), server->scratch_.fd()},
                  server->pid_);
    if (error != 0) {
        server->pid_ = -1;
        failure = cannot(config.workerProgram + " cannot be started", error);
        return nullptr;
    }
    static_assert(protocol::kControlFd == 3 && protocol::kSignaturesFd == 4 &&
                  protocol::kScratchFd == 5);
    protocol::Configure configure;
    configure.slots = workers * kPriorities;
    configure.background = priority == Priority::Background ? 1 : 0;
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
