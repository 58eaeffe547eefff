// A server and its workers: hands them files, takes their answers, and settles who is to blame when
// one ends.
#pragma once

#include "files/uniquefd.h"
#include "scan/poolqueue.h"
#include "scan/poolserver.h"
#include "scan/workerprotocol.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

namespace talo::scan
{

// Used from the pool's thread alone.
class PoolCrew
{
public:
    PoolCrew(const PoolConfig &config, unsigned workers, PoolQueue &queue,
             std::unique_ptr<PoolServer> server, std::chrono::minutes loadTime);

    enum class Phase {
        Loading,
        Serving,
        Ending, // asked to end
        Failed, // cannot serve: see failure()
        Lost,   // the server has ended after it had served
    };
    Phase phase() const { return phase_; }
    const std::string &failure() const { return failure_; }
    unsigned signatures() const { return signatures_; }
    bool answered() const { return answered_; } // whether any file was ever answered
    bool busy() const;                          // whether files are with its workers

    // watch() adds the descriptors to wait for; handle() takes the events of just those.
    void watch(std::vector<pollfd> &watched) const;
    const pollfd *handle(const pollfd *events);

    void enforceDeadlines(TimePoint now);
    TimePoint nextDeadline() const;

    // Starts workers that are missing, and gives files to those that are there. nextStart() is when
    // it is worth calling again though nothing has happened.
    void feed(TimePoint now);
    TimePoint nextStart() const;
    // Asks the server to end; it is Lost when it has.
    void end(TimePoint now);
    // Answers Error to the files with the workers.
    void failFiles(const std::string &reason);

private:
    struct Given {
        Task task;
        std::uint64_t id = 0;
    };
    enum class State {
        Absent,
        Starting, // forked or about to be, and not confined yet
        Ready,
        Gone, // ended or told to: its end is to be confirmed by the server
    };
    struct Worker {
        State state = State::Absent;
        std::uint32_t generation = 0;
        files::UniqueFd socket;
        std::deque<Given> given; // the first is being scanned
        std::uint64_t givenSize = 0;
        TimePoint frontSince;
        TimePoint notBefore;      // when another may be started
        TimePoint confirmBy;      // Starting: to be ready; leaving: to have left; Gone: to be
                                  // confirmed by the server
        bool confined = false;    // has been Ready
        std::uint64_t doomed = 0; // the file it was ended for
        std::string doom;         // and that file's verdict
        bool leaving = false;     // ends of its own accord, no file is to blame
        unsigned deaths = 0;      // since its last answer
    };

    void readControl();
    void confirmEnd(const protocol::Ended &ended);
    void startWorker(std::uint32_t slot, TimePoint now);
    void giveFiles(std::uint32_t slot, TimePoint now);
    void readAnswers(std::uint32_t slot);
    bool take(std::uint32_t slot, const protocol::Packet &packet);
    bool takeVerdict(Worker &worker, const protocol::Verdict &verdict);
    void dismiss(std::uint32_t slot, const std::string &doom);
    void settle(Worker &worker, const std::string &cause);
    void lose();
    void fail(const std::string &reason);
    Priority priorityOf(std::size_t slot) const;
    bool wanted(std::size_t slot) const; // a worker that is not there yet
    TimePoint fileDeadline(const Worker &worker, std::string &doom) const;

    const PoolConfig &config_;
    PoolQueue &queue_;
    std::unique_ptr<PoolServer> server_;
    Phase phase_ = Phase::Loading;
    const std::chrono::minutes loadTime_;
    TimePoint phaseDeadline_;
    std::string failure_;
    unsigned signatures_ = 0;
    bool answered_ = false;
    unsigned failedStarts_ = 0; // in a row
    std::uint64_t lastId_ = 0;
    std::vector<Worker> workers_;
};

} // namespace talo::scan
