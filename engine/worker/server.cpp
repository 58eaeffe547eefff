#include "server.h"

#include "confinement.h"
#include "scan/priority.h"
#include "scanloop.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace talo::worker
{

namespace protocol = scan::protocol;

Server::Server(int control, Engine &engine, const protocol::Configure &configuration,
               const Isolation &isolation)
    : control_(control)
    , engine_(engine)
    , configuration_(configuration)
    , loadedSpace_(addressSpace(isolation.memoryFigures))
    , nullDevice_(isolation.nullDevice)
{
    for (const int folder : isolation.scratch)
        slots_.push_back({folder, 0, 0});
}

int Server::run()
{
    sigset_t childEnds;
    sigemptyset(&childEnds);
    sigaddset(&childEnds, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childEnds, nullptr);
    const int ends = signalfd(-1, &childEnds, SFD_CLOEXEC | SFD_NONBLOCK);
    if (ends < 0)
        return 1;

    bool serving = true;
    while (serving) {
        pollfd watched[] = {{control_, POLLIN, 0}, {ends, POLLIN, 0}};
        if (poll(watched, 2, -1) < 0 && errno != EINTR)
            break;
        if (watched[1].revents) {
            signalfd_siginfo ignored;
            while (read(ends, &ignored, sizeof ignored) > 0) {
            }
            reapWorkers();
        }
        if (watched[0].revents)
            serving = handleRequest();
    }
    endWorkers();
    return 0;
}

bool Server::handleRequest()
{
    protocol::Packet packet;
    int socket = -1;
    const auto received =
        protocol::receive(control_, packet, MSG_DONTWAIT, protocol::Descriptors::Accept, &socket);
    if (received == protocol::Receive::Nothing)
        return true;
    if (received != protocol::Receive::Message)
        return false;
    protocol::Fork fork;
    protocol::Kill kill;
    bool understood = false;
    if (packet.read(fork) && fork.slot < slots_.size() && socket >= 0) {
        startWorker(fork, socket);
        understood = true;
    } else if (packet.read(kill) && kill.slot < slots_.size()) {
        const Slot &slot = slots_[kill.slot];
        if (slot.worker > 0 && slot.generation == kill.generation)
            ::kill(slot.worker, SIGKILL);
        understood = true;
    }
    if (socket >= 0)
        close(socket);
    return understood;
}

void Server::startWorker(const protocol::Fork &request, int socket)
{
    Slot &slot = slots_[request.slot];
    if (slot.worker > 0) {
        Slot refused = slot;
        refused.generation = request.generation;
        ended(refused, request.slot, protocol::EndedBy::ForkRefused, EBUSY);
        return;
    }
    slot.generation = request.generation;
    const pid_t server = getpid();
    const pid_t pid = fork();
    if (pid == 0)
        becomeWorker(request, slot, socket, server);
    if (pid < 0)
        ended(slot, request.slot, protocol::EndedBy::ForkRefused, errno);
    else
        slot.worker = pid;
}

void Server::becomeWorker(const protocol::Fork &request, const Slot &slot, int socket, pid_t server)
{
    const auto refuse = [&socket](const std::string &reason) {
        protocol::StartFailed message;
        message.reason.set(reason);
        protocol::send(socket, message, 0);
        _exit(1);
    };
    // Not inherited from the server, and lost if the server has ended before.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != server)
        _exit(1);
    if (request.background != 0)
        scan::runInBackground();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);

    // What a file makes libclamav say belongs nowhere; nor is anything but the socket and the
    // folder a worker's to reach.
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (dup2(nullDevice_, standard) < 0)
            refuse("the standard descriptors cannot be closed");
    if (fchdir(slot.scratch) != 0)
        refuse("the temporary folder cannot be entered");
    constexpr int kSocket = 3;
    constexpr int kFolder = 4;
    const int highSocket = fcntl(socket, F_DUPFD_CLOEXEC, 10);
    const int highFolder = fcntl(slot.scratch, F_DUPFD_CLOEXEC, 10);
    if (highSocket < 0 || highFolder < 0)
        refuse("descriptors cannot be arranged");
    // Where it is from here on, whatever else may fail.
    socket = highSocket;
    if (dup2(highSocket, kSocket) < 0 || dup2(highFolder, kFolder) < 0 ||
        close_range(kFolder + 1, ~0u, 0) != 0)
        refuse("descriptors that are not the worker's cannot be closed");
    socket = kSocket;

    Limits limits;
    limits.addressSpace = loadedSpace_ + configuration_.maxMemory;
    limits.fileSize = configuration_.maxTemporary;
    std::string failure = limitResources(limits);
    if (failure.empty())
        failure = confineToFolder(kFolder);
    close(kFolder);
    if (failure.empty())
        failure = filterSystemCalls();
    if (!failure.empty())
        refuse(failure);
    scanUntilClosed(kSocket, engine_);
    _exit(0);
}

void Server::reapWorkers()
{
    for (std::uint32_t index = 0; index < slots_.size(); ++index) {
        Slot &slot = slots_[index];
        int status = 0;
        if (slot.worker <= 0 || waitpid(slot.worker, &status, WNOHANG) != slot.worker)
            continue;
        slot.worker = 0;
        emptyFolder(slot.scratch);
        if (WIFSIGNALED(status))
            ended(slot, index, protocol::EndedBy::Signal, WTERMSIG(status));
        else
            ended(slot, index, protocol::EndedBy::Exit, WEXITSTATUS(status));
    }
}

void Server::ended(const Slot &slot, std::uint32_t index, protocol::EndedBy by, int number)
{
    protocol::Ended message;
    message.slot = index;
    message.generation = slot.generation;
    message.by = by;
    message.number = number;
    protocol::send(control_, message, 0);
}

void Server::endWorkers()
{
    for (const Slot &slot : slots_)
        if (slot.worker > 0)
            kill(slot.worker, SIGKILL);
    for (const Slot &slot : slots_) {
        if (slot.worker > 0)
            waitpid(slot.worker, nullptr, 0);
        emptyFolder(slot.scratch);
    }
}

} // namespace talo::worker
