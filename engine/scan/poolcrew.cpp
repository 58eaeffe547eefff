#include "poolcrew.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace talo::scan
{

namespace
{

using namespace std::chrono_literals;

constexpr auto kEndTime = 3s;
constexpr auto kConfirmTime = 2s;
// A server that ends while it serves is nobody's fault, until it happens again and again.
constexpr unsigned kMostInterrupts = 3;
constexpr unsigned kMostFailedStarts = 3;
// Each death costs a file, so this cannot go on forever; but a folder full of deadly files shall
// not take the processors either.
constexpr auto kLongestRest = 100ms;

std::string cause(const protocol::Ended &ended)
{
    const std::string number = std::to_string(ended.number);
    if (ended.by == protocol::EndedBy::ForkRefused)
        return std::string("no scan worker can be started: ") + std::strerror(ended.number);
    if (ended.by == protocol::EndedBy::Exit)
        return "the scan worker ended while scanning it (status " + number + ")";
    const char *signal = sigdescr_np(ended.number);
    return std::string("the scan worker ended while scanning it (") + (signal ? signal : "signal") +
           ", signal " + number + ")";
}

VerdictKind kind(protocol::Outcome outcome)
{
    switch (outcome) {
    case protocol::Outcome::Clean:
        return VerdictKind::Clean;
    case protocol::Outcome::Threat:
        return VerdictKind::Threat;
    case protocol::Outcome::Skipped:
        return VerdictKind::Skipped;
    case protocol::Outcome::Error:
        break;
    }
    return VerdictKind::Error;
}

} // namespace

PoolCrew::PoolCrew(const PoolConfig &config, unsigned workers, PoolQueue &queue,
                   std::unique_ptr<PoolServer> server, std::chrono::minutes loadTime)
    : config_(config)
    , queue_(queue)
    , server_(std::move(server))
    , loadTime_(loadTime)
    , phaseDeadline_(Clock::now() + loadTime)
    , workers_(std::size_t{workers} * kPriorities)
{
}

bool PoolCrew::busy() const
{
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker &worker) { return !worker.given.empty(); });
}

void PoolCrew::watch(std::vector<pollfd> &watched) const
{
    watched.push_back({server_->control(), POLLIN, 0});
    // poll() passes over -1
    for (const Worker &worker : workers_)
        watched.push_back({worker.socket.get(), POLLIN, 0});
}

const pollfd *PoolCrew::handle(const pollfd *events)
{
    const pollfd *control = events++;
    for (std::uint32_t slot = 0; slot < workers_.size(); ++slot, ++events)
        if (events->revents && workers_[slot].socket)
            readAnswers(slot);
    if (control->revents && phase_ != Phase::Failed && phase_ != Phase::Lost)
        readControl();
    return events;
}

void PoolCrew::readControl()
{
    for (;;) {
        protocol::Packet packet;
        const auto received = protocol::receive(server_->control(), packet, MSG_DONTWAIT,
                                                protocol::Descriptors::Refuse, nullptr);
        if (received == protocol::Receive::Nothing)
            return;
        protocol::Isolated isolated;
        protocol::Loaded loaded;
        protocol::LoadFailed failed;
        protocol::Ended ended;
        if (received != protocol::Receive::Message) {
            lose();
            return;
        }
        if (phase_ == Phase::Loading && packet.read(isolated)) {
            server_->isolated();
        } else if (phase_ == Phase::Loading && packet.read(loaded)) {
            phase_ = Phase::Serving;
            signatures_ = loaded.signatures;
        } else if (phase_ == Phase::Loading && packet.read(failed) && failed.reason.sane()) {
            fail("the signatures cannot be loaded: " + failed.reason.shown());
            return;
        } else if (phase_ != Phase::Loading && packet.read(ended) && ended.slot < workers_.size()) {
            confirmEnd(ended);
            if (phase_ == Phase::Failed)
                return;
        } else {
            lose();
            return;
        }
    }
}

// The server is gone, or not to be talked to any more. Its workers die with it.
void PoolCrew::lose()
{
    for (std::uint32_t slot = 0; slot < workers_.size(); ++slot) {
        Worker &worker = workers_[slot];
        if (worker.socket)
            readAnswers(slot);
        worker.state = State::Absent;
        worker.socket.reset();
        while (!worker.given.empty()) {
            Task task = std::move(worker.given.back().task);
            worker.given.pop_back();
            if (++task.interrupts < kMostInterrupts)
                queue_.giveBack(std::move(task));
            else
                queue_.finish(task, {VerdictKind::Error, "the scan workers ended repeatedly"});
        }
    }
    phase_ = Phase::Lost;
}

void PoolCrew::fail(const std::string &reason)
{
    failure_ = reason;
    phase_ = Phase::Failed;
    failFiles(reason);
}

void PoolCrew::failFiles(const std::string &reason)
{
    for (Worker &worker : workers_) {
        for (Given &given : worker.given)
            queue_.finish(given.task, {VerdictKind::Error, reason});
        worker.given.clear();
    }
}

void PoolCrew::end(TimePoint now)
{
    phase_ = Phase::Ending;
    phaseDeadline_ = now + kEndTime;
    server_->end();
}

void PoolCrew::confirmEnd(const protocol::Ended &ended)
{
    Worker &worker = workers_[ended.slot];
    if (worker.state == State::Absent || worker.generation != ended.generation)
        return;
    // What it said before it ended counts.
    if (worker.socket)
        readAnswers(ended.slot);
    if (worker.confined) {
        settle(worker, cause(ended));
        return;
    }
    settle(worker, {});
    if (worker.doom.empty())
        worker.doom = cause(ended);
    if (++failedStarts_ >= kMostFailedStarts)
        fail("no scan worker can be started: " + worker.doom);
}

// The worker is no more. The file it was on is answered for; what it had not begun goes to another.
void PoolCrew::settle(Worker &worker, const std::string &cause)
{
    if (!worker.given.empty()) {
        Given &front = worker.given.front();
        if (worker.doomed != 0 ? front.id == worker.doomed : !worker.leaving) {
            queue_.finish(front.task,
                          {VerdictKind::Error, worker.doomed != 0 ? worker.doom : cause});
            worker.given.pop_front();
        }
    }
    while (!worker.given.empty()) {
        queue_.giveBack(std::move(worker.given.back().task));
        worker.given.pop_back();
    }
    ++worker.deaths;
    worker.notBefore = Clock::now();
    if (worker.deaths > 1)
        worker.notBefore += std::min<Clock::duration>(kLongestRest, 5ms * worker.deaths);
    worker.givenSize = 0;
    worker.socket.reset();
    worker.state = State::Absent;
    worker.doomed = 0;
    worker.leaving = false;
}

void PoolCrew::readAnswers(std::uint32_t slot)
{
    Worker &worker = workers_[slot];
    for (;;) {
        protocol::Packet packet;
        switch (protocol::receive(worker.socket.get(), packet, MSG_DONTWAIT,
                                  protocol::Descriptors::Refuse, nullptr)) {
        case protocol::Receive::Nothing:
            return;
        case protocol::Receive::Message:
            if (take(slot, packet))
                continue;
            dismiss(slot, "the scan worker gave an answer that makes no sense");
            worker.socket.reset();
            return;
        case protocol::Receive::Broken:
            dismiss(slot, "the scan worker gave an answer that makes no sense");
            worker.socket.reset();
            return;
        case protocol::Receive::Closed:
            // How it ended is the server's to say. It may also have closed its socket alone.
            worker.socket.reset();
            if (worker.state == State::Ready)
                dismiss(slot, {});
            return;
        }
    }
}

bool PoolCrew::take(std::uint32_t slot, const protocol::Packet &packet)
{
    Worker &worker = workers_[slot];
    protocol::Ready ready;
    protocol::StartFailed failed;
    protocol::Verdict verdict;
    if (worker.state == State::Starting) {
        if (packet.read(failed) && failed.reason.sane()) {
            worker.doom = failed.reason.shown();
            return true;
        }
        if (!packet.read(ready))
            return false;
        worker.state = State::Ready;
        worker.confined = true;
        failedStarts_ = 0;
        return true;
    }
    return packet.read(verdict) && takeVerdict(worker, verdict);
}

bool PoolCrew::takeVerdict(Worker &worker, const protocol::Verdict &verdict)
{
    if (worker.given.empty() || verdict.id != worker.given.front().id ||
        verdict.outcome > protocol::Outcome::Error || verdict.leaving > 1 || !verdict.detail.sane())
        return false;
    // A threat has a name, and what was passed over a reason; a clean file has neither.
    if ((verdict.outcome == protocol::Outcome::Clean) != (verdict.detail.length == 0))
        return false;
    Given given = std::move(worker.given.front());
    worker.given.pop_front();
    worker.givenSize -= given.task.size;
    worker.frontSince = Clock::now();
    worker.leaving = verdict.leaving == 1;
    if (worker.leaving)
        worker.confirmBy = Clock::now() + kConfirmTime;
    worker.deaths = 0;
    answered_ = true;
    queue_.finish(given.task, {kind(verdict.outcome), verdict.detail.shown()});
    return true;
}

// Has a worker ended. With a text, that is the verdict of the file it is on.
void PoolCrew::dismiss(std::uint32_t slot, const std::string &doom)
{
    Worker &worker = workers_[slot];
    if (!doom.empty() && worker.doomed == 0 && !worker.given.empty()) {
        worker.doomed = worker.given.front().id;
        worker.doom = doom;
    }
    if (worker.state == State::Gone)
        return;
    worker.state = State::Gone;
    worker.confirmBy = Clock::now() + kConfirmTime;
    protocol::Kill kill;
    kill.slot = slot;
    kill.generation = worker.generation;
    protocol::send(server_->control(), kill, MSG_DONTWAIT);
}

} // namespace talo::scan
