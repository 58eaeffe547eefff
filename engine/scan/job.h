// One scan: walks its roots, has every file judged, acts on threats, and takes everything down.
#pragma once

#include "scan/exclusions.h"
#include "scan/priority.h"
#include "scan/verdict.h"
#include "scan/workerpool.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace talo::scan
{

class Quarantine;
class VerdictLink;

enum class ScanKind { Full = 1, Custom = 2, Quick = 3 };

enum class Action {
    Disinfect = 301,         // remove the malicious part, keep the file
    DisinfectOrDelete = 302, // the same, and delete where that is impossible
    Delete = 303,
    Report = 304,
};

// The second action follows where the first cannot be done.
struct ClassActions {
    Action first = Action::Report;
    Action second = Action::Report;
};

struct ScanSettings {
    Priority priority = Priority::Normal;
    ScanOptions options;
    ClassActions infected{Action::Disinfect, Action::Delete};
    ClassActions suspected{Action::Report, Action::Report};
    ClassActions hidden{Action::Disinfect, Action::Delete};
    std::vector<std::string> leaveOut; // folders of our own that no scan enters
    ExclusionPatterns excluded;
    std::string disinfector; // path of talo-disinfect; empty: nothing is disinfected
};

struct Threat {
    std::string path; // bytes, as the file system has them
    std::string name;
    ThreatClass threatClass = ThreatClass::Infected;
    std::string outcome; // what was done, in words: "deleted, kept in quarantine as 3f2a…"
};

struct PassedOver {
    std::string path;
    VerdictKind kind = VerdictKind::Skipped; // Skipped or Error
    std::string reason;
};

struct Tally {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

struct Totals {
    Tally clean;
    Tally threats;
    Tally skipped;
    Tally errors;
};

enum class JobEnd { Finished, Stopped, Failed };

// Takes down what a job finds, as it finds it. Called on the job's thread, one call at a time.
class JobRecorder
{
public:
    virtual ~JobRecorder() = default;
    virtual void threat(const Threat &threat) = 0;
    virtual void passedOver(const PassedOver &file) = 0;
    // The last call. `failure` says in words why a Failed job failed.
    virtual void ended(JobEnd end, const Totals &totals, const std::string &failure) = 0;
};

enum class JobPhase { Preparing, Scanning, Paused, Stopping, Ended };

struct JobProgress {
    JobPhase phase = JobPhase::Preparing;
    JobEnd end = JobEnd::Finished; // meaningful once phase is Ended
    std::string current;           // path of the file last handed to a worker, bytes
    std::uint64_t filesTotal = 0;  // 0 until counted
    std::uint64_t bytesTotal = 0;  // 0 until counted
    Totals totals;
    std::chrono::milliseconds elapsed{0}; // without pauses
    std::chrono::milliseconds remaining{-1};
    std::string failure;
};

// What a job asks for verdicts: the worker pool, or a test's stand-in for it.
class VerdictSource
{
public:
    virtual ~VerdictSource() = default;
    // Makes ready and waits for it; an empty text, or why it failed.
    virtual std::string load() = 0;
    virtual std::unique_ptr<WorkerPool::Session> open() = 0;
    // Cheaper ways to judge a file, to be asked first.
    virtual std::vector<std::unique_ptr<VerdictLink>> links(ScanOptions options) = 0;
};

class Job
{
public:
    // `roots` are absolute paths in bytes. A Quick job is given its roots by quickScanRoots().
    // The pool and the quarantine must outlive the job.
    Job(ScanKind kind, std::vector<std::string> roots, ScanSettings settings, WorkerPool &pool,
        Quarantine &quarantine, std::unique_ptr<JobRecorder> recorder);
    Job(ScanKind kind, std::vector<std::string> roots, ScanSettings settings,
        std::unique_ptr<VerdictSource> source, Quarantine &quarantine,
        std::unique_ptr<JobRecorder> recorder);
    ~Job(); // stops it and waits
    Job(const Job &) = delete;
    Job &operator=(const Job &) = delete;

    void start();
    void pause();
    void resume();
    void stop(); // asks; the job ends soon after
    void wait(); // until it has ended
    // Once it has ended, as its recorder knows: gives back what it needs no more to be asked.
    void letGo();

    ScanKind kind() const;
    JobProgress progress() const;
    // Threats from the given number on, at most `most`. The recorder is given every threat; here
    // the list ends where it has grown too long to be held in memory.
    std::vector<Threat> threats(std::size_t from, std::size_t most) const;

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// Where malware lives and starts from: programs and libraries of running processes, autostart
// places, temporary and shared-memory folders, and every user's Downloads, Desktop and bin folders.
// As an ordinary user only what that user may see.
std::vector<std::string> quickScanRoots();

} // namespace talo::scan
