// The pool of sandboxed scan workers, shared by all jobs.
//
// The pool starts talo-scan-worker, which loads the signatures once and forks one sandboxed worker
// a core. A worker that dies, hangs or outgrows its memory costs the one file it was working on an
// Error verdict and is replaced; the files queued behind that one are scanned by another.
#pragma once

#include "scan/priority.h"
#include "scan/verdict.h"

#include <chrono>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace talo::scan
{

class CleanFiles;

struct PoolConfig {
    std::string workerProgram;                  // path of talo-scan-worker
    std::string signatureFolder;                // path of the folder with the signatures
    unsigned workers = 0;                       // of each priority; 0: one for each core
    std::chrono::milliseconds fileTime{120000}; // and a second for every 4 MiB of the file
    std::uint64_t maxFileSize = 1ull << 30;     // a larger file is Skipped
    std::uint64_t maxMemory = 3ull << 30; // what a worker may add to the shared signatures, bytes
    std::uint64_t maxTemporary = 512ull << 20;    // the size of a worker's temporary folder, bytes
    std::chrono::milliseconds idleUnload{600000}; // let the signatures go after so long idle
    // Those of pressureReports(): while they tell of so much, in percent, idle signatures go at the
    // next look. The first look is so long after the last file, so that the pressure is not ours.
    std::vector<std::string> pressureReports;
    double muchPressure = 10; // that at which systemd tells its services that memory is short
    std::chrono::milliseconds pressureLook{5000};
};

class WorkerPool
{
public:
    explicit WorkerPool(PoolConfig config);
    ~WorkerPool(); // open sessions answer Error to what they still wait for
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    // One job's end of the pool. Used from the job's own thread; any number of sessions share the
    // workers fairly.
    class Session
    {
    public:
        struct Result {
            std::uint64_t cookie = 0;
            Verdict verdict;
        };

        virtual ~Session() = default; // cancels

        // Whether submit() would queue without letting the queue grow beyond what keeps the
        // workers busy.
        virtual bool hasRoom() const = 0;

        // Queues a file. `fd` is read-only and stays the caller's: it must stay open until the
        // cookie's result has come. `size` is the file's size by fstat. The first submit loads the
        // signatures and does not wait for that.
        virtual void submit(std::uint64_t cookie, int fd, std::uint64_t size,
                            ScanOptions options) = 0;

        // The next result, in any order; nothing when none came in time.
        virtual std::optional<Result> next(std::chrono::milliseconds wait) = 0;

        // Number of submitted files whose results have not been taken.
        virtual std::size_t pending() const = 0;

        // Drops everything submitted: what waits at once, what is being scanned within half a
        // second, its worker ended if need be. No results come afterwards.
        virtual void cancel() = 0;
    };

    // Files of the background are judged by workers of their own.
    std::unique_ptr<Session> open(Priority priority = Priority::Normal);

    // Loads the signatures if they are not, and waits; an empty text, or why it failed.
    std::string load(Priority priority = Priority::Normal);

    struct Signatures {
        bool loaded = false;
        unsigned count = 0; // 0 while not loaded
    };
    Signatures signatures() const;

    // What was found clean with these signatures.
    CleanFiles &cleanFiles();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace talo::scan
