#include "service/scanservice.h"

#include "interface/names.h"
#include "scan/quarantine.h"
#include "service/log.h"
#include "service/paths.h"
#include "service/shown.h"

#include <algorithm>
#include <cerrno>
#include <malloc.h>
#include <sys/stat.h>

namespace talo::service
{

namespace
{

constexpr int kLongestPath = 4096;
constexpr std::size_t kThreatsAtATime = 100;
constexpr int kThreatsAnnounced = 10;

using Refusal = ScanService::Refusal;

QString text(const std::string &bytes)
{
    return QString::fromStdString(shown(bytes));
}

std::string typeOf(scan::ScanKind kind, ScanService::Origin origin)
{
    if (origin == ScanService::Origin::Drive)
        return "External Drive Scan";
    const std::string prefix = origin == ScanService::Origin::Schedule ? "Scheduled " : "";
    switch (kind) {
    case scan::ScanKind::Full:
        return prefix + "Full Scan";
    case scan::ScanKind::Quick:
        return prefix + "Quick Scan";
    case scan::ScanKind::Custom:
        break;
    }
    return prefix + "Custom Scan";
}

std::string scannedBy(scan::ScanKind kind, const std::string &path)
{
    if (kind == scan::ScanKind::Full)
        return "the whole computer";
    if (kind == scan::ScanKind::Quick)
        return "running programs, autostart and temporary places, downloads";
    return shown(path);
}

bool exists(const QByteArray &path)
{
    struct stat status {
    };
    // Anything that is there but cannot be looked at is for the report to name.
    return stat(path.constData(), &status) == 0 ||
           (errno != ENOENT && errno != ENOTDIR && errno != ELOOP && errno != ENAMETOOLONG);
}

uint stateOf(const scan::JobProgress &progress, bool reportStored)
{
    switch (progress.phase) {
    case scan::JobPhase::Preparing:
        return interface::Preparing;
    case scan::JobPhase::Scanning:
        return interface::Scanning;
    case scan::JobPhase::Paused:
        return interface::Paused;
    case scan::JobPhase::Stopping:
        return interface::Stopping;
    case scan::JobPhase::Ended:
        break;
    }
    if (!reportStored)
        return interface::Stopping;
    switch (progress.end) {
    case scan::JobEnd::Finished:
        return interface::Finished;
    case scan::JobEnd::Stopped:
        return interface::Stopped;
    case scan::JobEnd::Failed:
        break;
    }
    return interface::Failed;
}

void count(interface::ScanProgress &answer, const scan::Totals &totals)
{
    for (const scan::Tally *tally :
         {&totals.clean, &totals.threats, &totals.skipped, &totals.errors}) {
        answer.filesDone += tally->files;
        answer.bytesDone += tally->bytes;
    }
    answer.clean = static_cast<uint>(totals.clean.files);
    answer.threats = static_cast<uint>(totals.threats.files);
    answer.skipped = static_cast<uint>(totals.skipped.files);
    answer.errors = static_cast<uint>(totals.errors.files);
}

} // namespace

ScanService::ScanService(Rooms rooms) : rooms_(std::move(rooms)) {}

ScanService::~ScanService()
{
    shutDown();
}

std::optional<ScanService::Started> ScanService::refuse(uint kind, const QByteArray &path) const
{
    const auto answer = [](Refusal refusal, const char *reason) {
        return Started{0, refusal, QString::fromLatin1(reason)};
    };
    if (kind != interface::FullScan && kind != interface::CustomScan &&
        kind != interface::QuickScan)
        return answer(Refusal::Invalid, "there is no such kind of scan");
    if (path.size() > kLongestPath)
        return answer(Refusal::Invalid, "the path is too long");
    if (!path.startsWith('/') || path.contains('\0'))
        return answer(Refusal::Invalid, "the path is not absolute");
    if (kind != interface::CustomScan && path != "/")
        return answer(Refusal::Invalid, "this kind of scan takes no path of its own");
    const interface::RunningJobs now = running();
    if (static_cast<std::size_t>(now.size()) >= kMostJobs)
        return answer(Refusal::LimitReached, "four scans are running already");
    if (kind != interface::CustomScan)
        for (const interface::RunningJob &job : now)
            if (job.kind == kind)
                return answer(Refusal::AlreadyRunning, "a scan of this kind is running already");
    if (!exists(path))
        return answer(Refusal::NotFound, "there is no such file or folder");
    return std::nullopt;
}

ScanService::Started ScanService::start(uint kind, const QByteArray &path, Origin origin, Gone gone)
{
    dropOld();
    if (const auto refused = refuse(kind, path))
        return *refused;

    const uint number = ++lastNumber_;
    const std::string root = path.toStdString();
    Entry &entry = jobs_[number];
    entry.kind = static_cast<scan::ScanKind>(kind);
    entry.origin = origin;
    entry.type = typeOf(entry.kind, origin);
    entry.scanned = scannedBy(entry.kind, root);
    entry.record = std::make_shared<JobRecord>();
    entry.workers = rooms_.pools.forJob();
    ReportRecorder::Hooks told = hooks(number, entry);
    told.gone = std::move(gone);
    entry.recorder = std::make_unique<ReportRecorder>(rooms_.reports, entry.type, entry.scanned,
                                                      entry.record, std::move(told));
    log(Level::Info,
        entry.type + " " + std::to_string(number) + " of " + entry.scanned + " begins");
    // Looking for the places of a quick scan takes a while. All kinds go this way, so that no scan
    // begins before the quarantine has recovered from a kill.
    const bool quick = entry.kind == scan::ScanKind::Quick;
    rooms_.housekeeper.run([this, number, quick, root] {
        std::vector<std::string> roots{root};
        if (quick)
            roots = scan::quickScanRoots();
        QMetaObject::invokeMethod(
            this, [this, number, roots] { begin(number, roots); }, Qt::QueuedConnection);
    });
    return {number, Refusal::None, QString()};
}

ReportRecorder::Hooks ScanService::hooks(uint number, const Entry &entry)
{
    ReportRecorder::Hooks hooks;
    hooks.signatures = [workers = entry.workers] { return workers->describe(); };
    hooks.whenThreat = [](const scan::Threat &) {};
    if (entry.origin != Origin::User)
        hooks.whenThreat = [this, type = text(entry.type),
                            left = kThreatsAnnounced](const scan::Threat &threat) mutable {
            if (left > 0) {
                --left;
                emit unwatchedThreat(type, text(threat.path), text(threat.name),
                                     text(threat.outcome));
            }
        };
    hooks.whenEnded = [this, number] {
        QMetaObject::invokeMethod(
            this, [this, number] { ended(number); }, Qt::QueuedConnection);
    };
    return hooks;
}

void ScanService::begin(uint job, const std::vector<std::string> &roots)
{
    Entry *const entry = find(job);
    if (entry == nullptr || entry->job)
        return;
    scan::ScanSettings settings = rooms_.settings();
    settings.leaveOut = rooms_.leaveOut;
    settings.disinfector = disinfectorProgram();
    if (entry->origin != Origin::User)
        settings.priority = scan::Priority::Background;
    entry->job = std::make_unique<scan::Job>(entry->kind, roots, settings,
                                             JobWorkers::source(entry->workers, settings.priority),
                                             rooms_.quarantine, std::move(entry->recorder));
    if (entry->pauseAsked)
        entry->job->pause();
    entry->job->start();
    if (entry->record->stopAsked() || entry->interrupted)
        entry->job->stop();
}

void ScanService::ended(uint job)
{
    Entry *const entry = find(job);
    if (entry == nullptr)
        return;
    entry->ended = std::chrono::steady_clock::now();
    entry->workers->letGo();
    if (entry->job)
        entry->job->letGo();
    const std::string report = entry->record->report();
    log(Level::Info,
        entry->type + " " + std::to_string(job) + " ended, " +
            (report.empty() ? "and its report could not be stored" : "report " + report));
    const scan::Totals totals = entry->record->totals();
    emit scanEnded(
        {job, entry->origin, QString::fromStdString(entry->type),
         QString::fromStdString(entry->scanned), entry->record->outcome(),
         totals.clean.files + totals.threats.files + totals.skipped.files + totals.errors.files,
         totals.threats.files, QString::fromStdString(report)});
    // Scans leave several times as much memory to the C library as the service needs between them.
    if (running().isEmpty())
        malloc_trim(0);
}

void ScanService::dropOld()
{
    const auto now = std::chrono::steady_clock::now();
    const auto over = [](const auto &job) {
        return job.second.ended != std::chrono::steady_clock::time_point();
    };
    auto ended = static_cast<std::size_t>(std::count_if(jobs_.begin(), jobs_.end(), over));
    for (auto job = jobs_.begin(); job != jobs_.end();) {
        const bool old =
            over(*job) && (ended > kMostEnded || now - job->second.ended > kKeptAfterEnd);
        ended -= old ? 1 : 0;
        job = old ? jobs_.erase(job) : std::next(job);
    }
}

ScanService::Entry *ScanService::find(uint job)
{
    const auto found = jobs_.find(job);
    return found == jobs_.end() ? nullptr : &found->second;
}

bool ScanService::pause(uint job)
{
    Entry *const entry = find(job);
    if (entry == nullptr)
        return false;
    entry->pauseAsked = true;
    if (entry->job)
        entry->job->pause();
    return true;
}

bool ScanService::resume(uint job)
{
    Entry *const entry = find(job);
    if (entry == nullptr)
        return false;
    entry->pauseAsked = false;
    if (entry->job)
        entry->job->resume();
    return true;
}

bool ScanService::stop(uint job)
{
    Entry *const entry = find(job);
    if (entry == nullptr)
        return false;
    entry->record->askStop();
    if (entry->job)
        entry->job->stop();
    return true;
}

bool ScanService::interrupt(uint job)
{
    Entry *const entry = find(job);
    if (entry == nullptr)
        return false;
    entry->interrupted = true;
    if (entry->job)
        entry->job->stop();
    return true;
}

std::optional<interface::ScanProgress> ScanService::progress(uint job, uint threatsFrom) const
{
    const auto found = jobs_.find(job);
    if (found == jobs_.end())
        return std::nullopt;
    const Entry &entry = found->second;
    interface::ScanProgress answer;
    if (!entry.job) {
        answer.state = entry.record->stopAsked() ? interface::Stopping : interface::Preparing;
        return answer;
    }
    // The record first: a report that is stored now belongs to a job that has ended by now.
    const bool stored = entry.record->closed();
    const scan::JobProgress now = entry.job->progress();
    answer.state = stateOf(now, stored);
    answer.current = text(now.current);
    answer.filesTotal = now.filesTotal;
    answer.bytesTotal = now.bytesTotal;
    answer.elapsedMs = static_cast<qulonglong>(now.elapsed.count());
    answer.remainingMs = now.remaining.count();
    answer.failure = text(now.failure);
    answer.report = QString::fromStdString(entry.record->report());
    count(answer, now.totals);
    for (const scan::Threat &threat : entry.job->threats(threatsFrom, kThreatsAtATime))
        answer.found.append({text(threat.path), text(threat.name),
                             QString::fromStdString(className(threat.threatClass)),
                             text(threat.outcome)});
    return answer;
}

interface::RunningJobs ScanService::running() const
{
    interface::RunningJobs list;
    for (const auto &[number, entry] : jobs_)
        if (!entry.record->closed())
            list.append({number, static_cast<uint>(entry.kind)});
    return list;
}

void ScanService::shutDown()
{
    rooms_.housekeeper.finish();
    for (auto &[number, entry] : jobs_) {
        if (entry.job)
            entry.job->stop();
        else if (const auto recorder = std::move(entry.recorder))
            recorder->ended(scan::JobEnd::Stopped, scan::Totals(), std::string());
    }
    for (auto &[number, entry] : jobs_)
        if (entry.job)
            entry.job->wait();
}

} // namespace talo::service
