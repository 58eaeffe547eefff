#include "scan/disinfectorprocess.h"

#include "scan/spawn.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/wait.h>
#include <utility>

namespace talo::scan
{

using files::Error;
using files::Result;
using files::UniqueFd;

namespace
{

constexpr int kAttention = 50; // milliseconds that a stop may go unnoticed

Error broken()
{
    return {0, "the disinfecting program failed"};
}

} // namespace

Result<DisinfectorProcess> DisinfectorProcess::start(const std::string &program,
                                                     const Descriptors &descriptors)
{
    static_assert(disinfection::kSocketFd == 3 && disinfection::kOriginalFd == 4 &&
                  disinfection::kResultFd == 5 && disinfection::kPartFd == 6);
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return files::systemError(errno);
    DisinfectorProcess process;
    process.socket_.reset(ends[0]);
    const UniqueFd theirs(ends[1]);
    const int error = spawnBare(
        program, {theirs.get(), descriptors.original, descriptors.result, descriptors.part},
        process.pid_);
    if (error != 0) {
        process.pid_ = -1;
        return Error{error, program + " cannot be started: " + files::systemError(error).text};
    }
    return process;
}

DisinfectorProcess::DisinfectorProcess(DisinfectorProcess &&other) noexcept
    : socket_(std::move(other.socket_)), pid_(std::exchange(other.pid_, -1))
{
}

DisinfectorProcess::~DisinfectorProcess()
{
    if (pid_ <= 0)
        return;
    kill(pid_, SIGKILL);
    while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

Result<std::uint32_t> DisinfectorProcess::serve(const Decide &decide,
                                                std::chrono::steady_clock::time_point until,
                                                const std::function<bool()> &isStopped)
{
    for (std::uint32_t questions = 0;;) {
        if (isStopped())
            return Error{ECANCELED, "the scan was stopped"};
        if (std::chrono::steady_clock::now() >= until)
            return Error{ETIMEDOUT, "it takes too long"};
        pollfd wait{socket_.get(), POLLIN, 0};
        if (poll(&wait, 1, kAttention) <= 0)
            continue;
        protocol::Packet packet;
        if (protocol::receive(socket_.get(), packet, MSG_DONTWAIT, protocol::Descriptors::Refuse,
                              nullptr) != protocol::Receive::Message)
            return broken();
        disinfection::Judge question;
        disinfection::Finished finished;
        disinfection::Refused refused;
        if (packet.read(finished))
            return finished.removed;
        if (packet.read(refused))
            return Error{0, refused.reason.shown()};
        if (!packet.read(question) || ++questions > disinfection::kMaxParts)
            return broken();
        const auto fate = decide();
        if (!fate)
            return fate.error();
        disinfection::Judged answer;
        answer.fate = *fate;
        if (!protocol::send(socket_.get(), answer, MSG_DONTWAIT))
            return broken();
    }
}

} // namespace talo::scan
