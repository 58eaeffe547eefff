#include "scan/job.h"

#include "files/printable.h"
#include "scan/actions.h"
#include "scan/counting.h"
#include "scan/jobbook.h"
#include "scan/jobcontrol.h"
#include "scan/quarantine.h"
#include "scan/verdictchain.h"
#include "scan/walk.h"

#include <future>
#include <sys/stat.h>
#include <system_error>
#include <thread>

namespace talo::scan
{

namespace
{

using std::chrono::milliseconds;

// How long a stop may go unnoticed while the job waits for something else.
constexpr milliseconds kAttention{50};

std::vector<files::Identity> identitiesOf(const std::vector<std::string> &folders)
{
    std::vector<files::Identity> identities;
    for (const std::string &folder : folders) {
        struct stat status = {};
        if (stat(folder.c_str(), &status) == 0)
            identities.push_back(files::identityOf(status));
    }
    return identities;
}

std::uint64_t sizeOf(const Walk::Found &file)
{
    return static_cast<std::uint64_t>(file.status.st_size);
}

} // namespace

class Job::Impl
{
public:
    Impl(ScanKind kind, std::vector<std::string> roots, ScanSettings settings,
         std::unique_ptr<VerdictSource> source, Quarantine &quarantine,
         std::unique_ptr<JobRecorder> recorder)
        : kind_(kind)
        , roots_(std::move(roots))
        , settings_(std::move(settings))
        , source_(std::move(source))
        , quarantine_(quarantine)
        , recorder_(std::move(recorder))
    {
        settings_.leaveOut.push_back(quarantine_.folder());
    }

    ~Impl()
    {
        control_.stop();
        if (thread_.joinable())
            thread_.join();
        // A stopped job does not wait for signatures that are being loaded; its end does.
        if (loader_.joinable())
            loader_.join();
    }

    void start();
    void wait() { book_.waitForEnd(); }
    void letGo();

    ScanKind kind() const { return kind_; }
    JobControl &control() { return control_; }
    JobProgress progress();
    std::vector<Threat> threats(std::size_t from, std::size_t most) const
    {
        return book_.threats(from, most);
    }

private:
    using Outcome = JobBook::Outcome;

    void run();
    std::thread startCounting();
    void end(Outcome outcome);
    Outcome scan();
    std::string load();
    Outcome judgeAll(Walk &walk, VerdictChain &chain);
    bool advance(Walk &walk, VerdictChain &chain);
    bool takeResult(VerdictChain &chain, milliseconds wait);
    void take(Walk::Found &file, const Verdict &verdict);
    void takeThreat(const Walk::Found &file, const std::string &name);
    void passOver(const Walk::Found &file, VerdictKind kind, const std::string &reason);
    Verdict judgeNow(int fd, std::uint64_t size);

    const ScanKind kind_;
    const std::vector<std::string> roots_;
    ScanSettings settings_;
    const std::unique_ptr<VerdictSource> source_;
    Quarantine &quarantine_;
    const std::unique_ptr<JobRecorder> recorder_;
    JobControl control_;
    std::thread thread_;
    std::thread loader_;

    std::shared_ptr<const Exclusions> excluded_; // set before the counting begins

    // The job thread's own.
    std::unordered_map<std::uint64_t, Walk::Found> waiting_; // for a verdict
    std::uint64_t lastCookie_ = 0;

    JobBook book_;
};

void Job::Impl::start()
{
    control_.start();
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error &error) {
        end({JobEnd::Failed, std::string("the scan cannot be started: ") + error.what()});
    }
}

// A thread that nobody has joined keeps its stack.
void Job::Impl::letGo()
{
    if (thread_.joinable())
        thread_.join();
    settings_ = ScanSettings();
    excluded_.reset();
}

void Job::Impl::run()
{
    if (settings_.priority == Priority::Background)
        runInBackground();
    excluded_ = std::make_shared<Exclusions>(settings_.excluded);
    std::thread counter = startCounting();
    Outcome outcome = scan();
    control_.end(); // the counting too
    if (counter.joinable())
        counter.join();
    end(std::move(outcome));
}

// Without it the scan has no total to measure its progress by, which is no reason not to scan.
std::thread Job::Impl::startCounting()
{
    try {
        return std::thread([this] {
            const auto all =
                countAhead(roots_, identitiesOf(settings_.leaveOut), excluded_, control_);
            book_.counted(all.value_or(Tally{}));
        });
    } catch (const std::system_error &) {
        return {};
    }
}

void Job::Impl::end(Outcome outcome)
{
    recorder_->ended(outcome.end, book_.totals(), outcome.failure);
    book_.end(std::move(outcome));
}

Job::Impl::Outcome Job::Impl::scan()
{
    const std::string failure = load();
    if (control_.state() == JobControl::State::Stopped)
        return {JobEnd::Stopped, {}};
    if (!failure.empty())
        return {JobEnd::Failed, failure};
    book_.scanning(control_.elapsed());
    VerdictChain chain(source_->links(settings_.options), source_->open(), settings_.options);
    Walk walk(roots_, identitiesOf(settings_.leaveOut), Walk::Purpose::Scan, excluded_);
    Outcome outcome = judgeAll(walk, chain);
    if (outcome.end == JobEnd::Stopped)
        chain.cancel();
    waiting_.clear(); // closes the files only now that no worker is given them any more
    return outcome;
}

std::string Job::Impl::load()
{
    std::promise<std::string> promise;
    std::future<std::string> loaded = promise.get_future();
    try {
        loader_ = std::thread(
            [this](std::promise<std::string> answer) { answer.set_value(source_->load()); },
            std::move(promise));
    } catch (const std::system_error &error) {
        return std::string("the signatures cannot be loaded: ") + error.what();
    }
    while (loaded.wait_for(kAttention) != std::future_status::ready) {
        if (control_.state() == JobControl::State::Stopped)
            return {};
    }
    loader_.join();
    return loaded.get();
}

Job::Impl::Outcome Job::Impl::judgeAll(Walk &walk, VerdictChain &chain)
{
    bool walking = true;
    while (walking || chain.pending() > 0) {
        const JobControl::State state = control_.state();
        if (state == JobControl::State::Stopped)
            return {JobEnd::Stopped, {}};
        if (state == JobControl::State::Paused) {
            // What the workers hold already comes to its end.
            if (chain.pending() > 0)
                takeResult(chain, kAttention);
            else
                control_.waitWhilePaused();
        } else if (walking && chain.hasRoom()) {
            walking = advance(walk, chain);
            while (chain.pending() > 0 && takeResult(chain, milliseconds{0})) {
            }
        } else {
            takeResult(chain, kAttention);
        }
    }
    for (auto &[cookie, file] : waiting_)
        take(file, {VerdictKind::Error, "the scanner gave no answer"});
    if (walk.rootsOpened() > 0)
        return {};
    const bool nothing = walk.rootFailure().empty();
    return {JobEnd::Failed, nothing ? "there is nothing to scan" : walk.rootFailure()};
}

// False when there is no more to come.
bool Job::Impl::advance(Walk &walk, VerdictChain &chain)
{
    Walk::Found found = walk.next();
    switch (found.kind) {
    case Walk::Kind::End:
        return false;
    case Walk::Kind::Step:
        return true;
    case Walk::Kind::Skipped:
        passOver(found, VerdictKind::Skipped, found.reason);
        return true;
    case Walk::Kind::Error:
        passOver(found, VerdictKind::Error, found.reason);
        return true;
    case Walk::Kind::File:
        break;
    }
    book_.reached(found.path);
    const std::uint64_t cookie = ++lastCookie_;
    const auto place = waiting_.emplace(cookie, std::move(found)).first;
    Walk::Found &file = place->second;
    if (const auto verdict = chain.submit(cookie, {file.fd.get(), &file.status})) {
        take(file, *verdict);
        waiting_.erase(place);
    }
    return true;
}

bool Job::Impl::takeResult(VerdictChain &chain, milliseconds wait)
{
    const auto result = chain.next(wait);
    if (!result)
        return false;
    const auto place = waiting_.find(result->cookie);
    if (place != waiting_.end()) {
        take(place->second, result->verdict);
        waiting_.erase(place);
    }
    return true;
}

void Job::Impl::take(Walk::Found &file, const Verdict &verdict)
{
    switch (verdict.kind) {
    case VerdictKind::Clean:
        book_.clean(sizeOf(file));
        return;
    case VerdictKind::Threat:
        takeThreat(file, verdict.detail);
        return;
    case VerdictKind::Skipped:
    case VerdictKind::Error:
        passOver(file, verdict.kind, verdict.detail);
        return;
    }
}

void Job::Impl::takeThreat(const Walk::Found &file, const std::string &name)
{
    Threat threat;
    threat.path = file.path;
    threat.name = name;
    threat.threatClass = classOf(file.path, name);
    const Disinfection disinfection(
        {settings_.disinfector}, [this](int fd, std::uint64_t size) { return judgeNow(fd, size); },
        [this] { return control_.state() == JobControl::State::Stopped; });
    threat.outcome = actOn({file.folder->get(), file.name, file.fd.get(), file.path, name},
                           actionsFor(threat.threatClass, settings_), quarantine_, disinfection);
    recorder_->threat(threat);
    book_.threat(threat, sizeOf(file));
}

// Apart from the walk, which goes on meanwhile with what the workers hold already.
Verdict Job::Impl::judgeNow(int fd, std::uint64_t size)
{
    const auto session = source_->open();
    session->submit(1, fd, size, settings_.options);
    while (session->pending() > 0 && control_.state() != JobControl::State::Stopped) {
        if (const auto result = session->next(kAttention))
            return result->verdict;
    }
    session->cancel();
    return {VerdictKind::Error, "the scanner gave no answer"};
}

void Job::Impl::passOver(const Walk::Found &file, VerdictKind kind, const std::string &reason)
{
    recorder_->passedOver({file.path, kind, reason});
    book_.passedOver(kind, sizeOf(file));
}

JobProgress Job::Impl::progress()
{
    const JobControl::State state = control_.state();
    JobProgress progress = book_.progress(control_.elapsed());
    if (progress.phase != JobPhase::Ended && state == JobControl::State::Stopped)
        progress.phase = JobPhase::Stopping;
    else if (progress.phase != JobPhase::Ended && state == JobControl::State::Paused)
        progress.phase = JobPhase::Paused;
    return progress;
}

Job::Job(ScanKind kind, std::vector<std::string> roots, ScanSettings settings,
         std::unique_ptr<VerdictSource> source, Quarantine &quarantine,
         std::unique_ptr<JobRecorder> recorder)
    : impl_(std::make_unique<Impl>(kind, std::move(roots), std::move(settings), std::move(source),
                                   quarantine, std::move(recorder)))
{
}

Job::~Job() = default;

void Job::start()
{
    impl_->start();
}
void Job::pause()
{
    impl_->control().pause();
}
void Job::resume()
{
    impl_->control().resume();
}
void Job::stop()
{
    impl_->control().stop();
}
void Job::wait()
{
    impl_->wait();
}
void Job::letGo()
{
    impl_->letGo();
}
ScanKind Job::kind() const
{
    return impl_->kind();
}
JobProgress Job::progress() const
{
    return impl_->progress();
}
std::vector<Threat> Job::threats(std::size_t from, std::size_t most) const
{
    return impl_->threats(from, most);
}

} // namespace talo::scan
