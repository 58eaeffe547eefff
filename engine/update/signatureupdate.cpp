#include "update/signatureupdate.h"

#include "update/databasefile.h"
#include "update/databasejudgement.h"
#include "update/freshclamrun.h"
#include "update/plainfolder.h"
#include "update/workfolder.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace talo::update
{

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// How the percentage of a run is shared out.
constexpr double kDownloaded = 80;
constexpr double kInstalling = 95;
constexpr double kComplete = 100;

// Putting patches to a large database takes freshclam a while, in silence.
constexpr std::chrono::seconds kSilence = 10min;
constexpr std::chrono::seconds kLongest = 6h;

// freshclam remembers there who it is, and how long a server does not want to see it.
constexpr char kMemory[] = "freshclam.dat";

enum FreshclamCode {
    UpToDateOrUpdated = 0,
    NoConnection = 5,
    FailedGet = 11,
    MirrorNotInSync = 12,
    Forbidden = 17,
    RetryLater = 18,
};

bool isFull(const std::string &folder)
{
    constexpr unsigned long kLeast = 128UL * 1024;
    struct statvfs status {
    };
    return statvfs(folder.c_str(), &status) == 0 && (status.f_bavail * status.f_frsize < kLeast ||
                                                     (status.f_files != 0 && status.f_favail == 0));
}

std::string momentOf(std::time_t when)
{
    std::tm local{};
    localtime_r(&when, &local);
    char text[32] = {};
    return std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local) != 0 ? text : "later";
}

} // namespace

struct SignatureUpdate::Run {
    std::optional<WorkFolder> work;
    Identity identity;
    std::string downloads;          // the folder that freshclam works in
    std::string base;               // the set that it begins with; empty for none
    std::vector<std::string> files; // that it ends with
    std::string set;
    Clock::time_point measured = Clock::now();
    std::uint64_t bytes = 0; // that had come by then
    UpdateProgress result;
};

SignatureUpdate::SignatureUpdate(SignatureSets &sets, Task task)
    : sets_(sets), task_(std::move(task)), stopEvent_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

UpdateProgress SignatureUpdate::progress() const
{
    const std::lock_guard lock(mutex_);
    return progress_;
}

bool SignatureUpdate::stop()
{
    const std::lock_guard lock(mutex_);
    if (isFinal(progress_.status) || progress_.status == UpdateStatus::Installing)
        return false;
    stopAsked_ = true;
    const std::uint64_t one = 1;
    return write(stopEvent_.get(), &one, sizeof one) == sizeof one || errno == EAGAIN;
}

// The final status is for whoever runs this to tell, once all is cleaned up.
UpdateProgress SignatureUpdate::end(UpdateStatus status, const std::string &detail)
{
    const std::lock_guard lock(mutex_);
    UpdateProgress result = progress_;
    result.status = status;
    result.detail = detail;
    result.speed = 0;
    if (status == UpdateStatus::Done || status == UpdateStatus::Latest) {
        result.percentage = kComplete;
        result.remaining = 0;
    }
    return result;
}

void SignatureUpdate::enter(UpdateStatus status, double percentage)
{
    const std::lock_guard lock(mutex_);
    progress_.status = status;
    progress_.percentage = std::max(progress_.percentage, percentage);
    progress_.speed = 0;
}

UpdateProgress SignatureUpdate::run()
{
    Run run;
    if (!stopEvent_)
        run.result = fail("no event can be made");
    else if (mayAsk(run) && seed(run) && download(run) && judge(run) && install(run))
        run.result = end(UpdateStatus::Done, "the signatures were updated");
    if (run.result.status != UpdateStatus::Done)
        sets_.discard(run.set);
    run.work.reset();
    const std::lock_guard lock(mutex_);
    if (stopAsked_ && run.result.status != UpdateStatus::Done) {
        run.result.status = UpdateStatus::Stopped;
        run.result.detail = "stopped before the new signatures were put to use";
    }
    progress_ = run.result;
    return progress_;
}

// Also of a run that somebody asks for: a server that is asked all the same may shut us out.
bool SignatureUpdate::mayAsk(Run &run)
{
    if (std::time(nullptr) >= task_.notBefore)
        return true;
    coolDown_ = task_.notBefore;
    run.result = end(UpdateStatus::Unreachable,
                     "the server wants to be left alone until " + momentOf(coolDown_));
    return false;
}

// freshclam changes its own copy, so that it need only fetch what is new.
bool SignatureUpdate::seed(Run &run)
{
    std::string failure = faultOf(task_.source);
    const auto identity = failure.empty() ? downloader(task_.source.user, failure) : std::nullopt;
    if (!identity) {
        run.result = fail(failure);
        return false;
    }
    run.identity = *identity;
    run.work.emplace(task_.source.workFolder, sets_.workNote(), run.identity);
    failure = run.work->failure();
    run.downloads = run.work->path() + "/databases";
    if (failure.empty() && mkdir(run.downloads.c_str(), S_IRWXU) != 0)
        failure = because(run.downloads + " cannot be made", errno);
    if (failure.empty() && geteuid() == 0 &&
        lchown(run.downloads.c_str(), run.identity.user, run.identity.group) != 0)
        failure = because(run.downloads + " cannot be given away", errno);

    CopyRule rule;
    rule.owner = run.identity.user;
    rule.group = run.identity.group;
    rule.mode = S_IRUSR | S_IWUSR;
    run.base = sets_.current();
    if (run.base.empty() && task_.source.official)
        run.base = task_.systemFolder;
    if (failure.empty() && !run.base.empty())
        for (const std::string &file : plainFiles(run.base))
            if (failure.empty() && comesFrom(task_.source, file))
                failure = copyFile(run.base + "/" + file, run.downloads + "/" + file, rule);
    const std::string memory = sets_.folder() + "/" + kMemory;
    if (failure.empty() && access(memory.c_str(), F_OK) == 0)
        failure = copyFile(memory, run.downloads + "/" + kMemory, rule);
    if (!failure.empty())
        run.result = fail(failure);
    return failure.empty();
}

void SignatureUpdate::heard(Run &run, const FreshclamOutput &output)
{
    constexpr auto kMeasure = 250ms;
    const auto now = Clock::now();
    const std::uint64_t bytes = output.before() + output.done();
    const double files = databasesOf(task_.source);
    const double part = output.total() == 0 ? 0
                                            : static_cast<double>(output.done()) /
                                                  static_cast<double>(output.total());
    const double done = std::min(files, output.finished() + part);
    const std::lock_guard lock(mutex_);
    progress_.total = output.before() + output.total();
    progress_.remaining = output.total() - output.done();
    if (files > 0)
        progress_.percentage = std::max(progress_.percentage, kDownloaded * done / files);
    if (now - run.measured >= kMeasure) {
        const std::chrono::duration<double> time = now - run.measured;
        progress_.speed = static_cast<std::uint64_t>(
            static_cast<double>(bytes - std::min(bytes, run.bytes)) / time.count());
        run.measured = now;
        run.bytes = bytes;
    }
}

bool SignatureUpdate::download(Run &run)
{
    using By = FreshclamEnd::By;
    const std::string configuration = run.work->path() + "/freshclam.conf";
    {
        std::ofstream file(configuration);
        file << freshclamConfiguration(task_.source, run.downloads);
        file.close();
        if (!file || chmod(configuration.c_str(), S_IRUSR) != 0 ||
            (geteuid() == 0 &&
             lchown(configuration.c_str(), run.identity.user, run.identity.group) != 0)) {
            run.result = fail(because(configuration + " cannot be written", errno));
            return false;
        }
    }
    enter(UpdateStatus::Downloading, 0);
    FreshclamOutput output;
    FreshclamTask task;
    task.arguments = freshclamArguments(task_.source, configuration);
    task.folder = run.downloads;
    task.identity = run.identity;
    task.patience = kSilence + 4 * task_.source.patience;
    task.longest = kLongest;
    task.stop = stopEvent_.get();
    task.heard = [this, &run](const FreshclamOutput &now) { heard(run, now); };
    const FreshclamEnd ended = runFreshclam(task, output);

    const std::string memory = sets_.folder() + "/" + kMemory;
    CopyRule rule;
    rule.from = run.identity.user;
    rule.owner = geteuid();
    rule.group = getegid();
    rule.mode = S_IRUSR | S_IWUSR;
    unlink(memory.c_str());
    if (ended.by == By::Exit)
        copyFile(run.downloads + "/" + kMemory, memory, rule); // without it, it begins anew

    const std::string complaint =
        output.complaint().empty() ? std::string() : " (" + output.complaint() + ")";
    if (ended.by == By::NotStarted) {
        run.result = fail(because(task_.source.program + " cannot be started", ended.number));
    } else if (ended.by == By::Stop) {
        run.result = end(UpdateStatus::Stopped, std::string());
    } else if (ended.by == By::Exit && output.coolDownUntil() != 0) {
        coolDown_ = output.coolDownUntil();
        run.result = end(UpdateStatus::Unreachable,
                         "the server wants to be left alone until " + momentOf(coolDown_));
    } else if (ended.by == By::Exit && ended.number == UpToDateOrUpdated) {
        return true;
    } else if (output.diskFailed() || isFull(run.downloads)) {
        run.result = fail("no space is left in " + task_.source.workFolder + complaint);
    } else if (ended.by == By::TooLong) {
        run.result = end(UpdateStatus::Unreachable, "the download did not end in time");
    } else if (ended.by == By::Signal) {
        run.result = fail("the download was ended by signal " + std::to_string(ended.number));
    } else if (output.fileMissing()) {
        run.result = fail("the server does not have what was asked of it" + complaint);
    } else if (ended.number == NoConnection || ended.number == FailedGet ||
               ended.number == MirrorNotInSync || ended.number == Forbidden ||
               ended.number == RetryLater) {
        run.result = end(UpdateStatus::Unreachable, "the server cannot be reached" + complaint);
    } else {
        run.result =
            fail("the download failed with code " + std::to_string(ended.number) + complaint);
    }
    return false;
}

bool SignatureUpdate::judge(Run &run)
{
    for (const std::string &file : plainFiles(run.downloads))
        if (isDatabase(file) && comesFrom(task_.source, file))
            run.files.push_back(file);
    if (run.files.empty()) {
        run.result = fail("the download brought no signatures");
        return false;
    }
    if (!run.base.empty() && sameSet(run.downloads, run.base, run.files)) {
        run.result = end(UpdateStatus::Latest, "the signatures are the latest already");
        return false;
    }
    enter(UpdateStatus::Checking, kDownloaded);
    std::string failure;
    run.set = sets_.begin(failure);
    // What is judged is a copy that the download cannot change any more.
    if (failure.empty())
        failure = takeDatabases(run.downloads, run.files, run.identity.user, run.set);
    if (failure.empty()) {
        failure = faultOfFiles(run.set, run.files, task_.source, run.base);
        if (failure.empty())
            failure = task_.tryOut(run.set);
        if (!failure.empty())
            failure = "the new signatures are of no use: " + failure;
    }
    if (!failure.empty())
        run.result = fail(failure);
    return failure.empty();
}

bool SignatureUpdate::install(Run &run)
{
    {
        const std::lock_guard lock(mutex_);
        if (stopAsked_)
            return false;
        progress_.status = UpdateStatus::Installing;
        progress_.percentage = std::max(progress_.percentage, kInstalling);
    }
    const std::string failure = sets_.take(run.set);
    if (!failure.empty()) {
        run.result = fail(failure);
        return false;
    }
    task_.taken();
    return true;
}

} // namespace talo::update
