// One update of the signatures, from asking the server to the set in use.
#pragma once

#include "files/uniquefd.h"
#include "update/signaturesets.h"
#include "update/signaturesource.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace talo::update
{

class FreshclamOutput;

// With the numbers under which clients know them.
enum class UpdateStatus {
    Preparing = 0,
    Downloading = 1,
    Done = 2,
    Stopped = 3,
    Failed = 4,
    Checking = 5,
    Installing = 6,
    Latest = 7,
    Unreachable = 8,
};

constexpr bool isFinal(UpdateStatus status)
{
    return status == UpdateStatus::Done || status == UpdateStatus::Stopped ||
           status == UpdateStatus::Failed || status == UpdateStatus::Latest ||
           status == UpdateStatus::Unreachable;
}

struct UpdateProgress {
    UpdateStatus status = UpdateStatus::Preparing;
    std::uint64_t total = 0;     // bytes of the downloads so far known of
    std::uint64_t remaining = 0; // bytes
    double percentage = 0;       // of the whole run; never goes back
    std::uint64_t speed = 0;     // bytes a second
    std::string detail;          // with a final status: why, in words
};

class SignatureUpdate
{
public:
    struct Task {
        SignatureSource source;
        std::string systemFolder;  // signatures of the distribution, to begin with where there is
                                   // no set of our own yet
        std::time_t notBefore = 0; // the server's wish of an earlier run
        // Loads a set in the scan workers' sandbox. Empty, or why it is of no use.
        std::function<std::string(const std::string &set)> tryOut;
        std::function<void()> taken; // the set is the current one now
    };
    SignatureUpdate(SignatureSets &sets, Task task);

    // Blocks until the end; once. What it returns has a final status.
    UpdateProgress run();

    // Any thread. False: it is too late, the new set is being put to use.
    bool stop();
    UpdateProgress progress() const;
    std::time_t coolDownUntil() const { return coolDown_; } // once run() has returned

private:
    struct Run;
    UpdateProgress end(UpdateStatus status, const std::string &detail);
    UpdateProgress fail(const std::string &detail) { return end(UpdateStatus::Failed, detail); }
    void enter(UpdateStatus status, double percentage);
    void heard(Run &run, const FreshclamOutput &output);
    bool download(Run &run);
    bool mayAsk(Run &run);
    bool seed(Run &run);
    bool judge(Run &run);
    bool install(Run &run);

    SignatureSets &sets_;
    const Task task_;
    files::UniqueFd stopEvent_;
    mutable std::mutex mutex_;
    UpdateProgress progress_;
    bool stopAsked_ = false;
    std::time_t coolDown_ = 0;
};

} // namespace talo::update
