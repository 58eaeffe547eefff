#include "service/updateservice.h"

#include "interface/names.h"
#include "service/log.h"
#include "service/paths.h"
#include "service/settingsservice.h"
#include "service/shown.h"
#include "service/signaturepools.h"
#include "service/updateschedule.h"
#include "update/signatureupdate.h"

#include <QRandomGenerator>

#include <algorithm>
#include <chrono>
#include <unistd.h>

namespace talo::service
{

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Kind = store::UpdateStore::Kind;
using update::UpdateStatus;

// A prepared run that nobody starts must not keep others from updating.
constexpr auto kPreparedFor = 30s;
// Short enough for a machine that slept to notice soon that an update is due.
constexpr auto kTick = 60s;
// After the service's start, when a machine that boots has enough to do.
constexpr int kSoonest = 60;
constexpr int kLatest = 600;

double chance()
{
    return QRandomGenerator::global()->generateDouble();
}

qlonglong kilobytes(std::uint64_t bytes)
{
    return static_cast<qlonglong>((bytes + 1023) / 1024);
}

// A clock that was set may make a wish of the server's one for years.
std::time_t wish(const store::UpdateRecord &record)
{
    const std::time_t longest = record.attempted + kLongestWish;
    return record.notBefore > longest || record.attempted > std::time(nullptr) ? 0
                                                                               : record.notBefore;
}

bool isFailure(UpdateStatus status)
{
    return status == UpdateStatus::Failed || status == UpdateStatus::Unreachable;
}

} // namespace

struct UpdateService::Run {
    uint handle = 0;
    Asked asked = Asked::ByUser;
    UpdateSettings settings;
    Clock::time_point prepared = Clock::now();
    std::unique_ptr<update::SignatureUpdate> update; // none until it is started
    bool over = false;
    update::UpdateProgress result; // once it is over
};

UpdateService::UpdateService(Rooms rooms)
    // A handle of an earlier service must not be taken for one of this one's.
    : rooms_(std::move(rooms)), lastHandle_(QRandomGenerator::global()->bounded(1u << 30u))
{
    const std::string failure = rooms_.store.read(Kind::Signatures, record_);
    if (!failure.empty())
        log(Level::Error, failure);
    connect(&clock_, &QTimer::timeout, this, &UpdateService::tick);
    connect(&rooms_.settings, &SettingsService::changed, this, [this](store::Group group) {
        if (group == store::Group::Update)
            arm();
    });
}

UpdateService::~UpdateService()
{
    shutDown();
}

void UpdateService::begin()
{
    arm();
    std::string reason;
    const auto settings = source(reason);
    if (!settings) {
        if (rooms_.chosenSignatures.empty())
            log(Level::Warning, "the signatures cannot be updated: " + reason);
        return;
    }
    const auto soon = static_cast<std::time_t>(settings->startDelay.value_or(
        static_cast<unsigned>(QRandomGenerator::global()->bounded(kSoonest, kLatest))));
    if (next_ != 0)
        next_ = std::max(next_, std::time(nullptr) + soon);
    clock_.start(settings->startDelay ? std::chrono::milliseconds(1s)
                                      : std::chrono::milliseconds(kTick));
}

std::optional<UpdateSettings> UpdateService::source(std::string &reason) const
{
    if (!rooms_.chosenSignatures.empty()) {
        reason = "talod was started with signatures of its own, from " + rooms_.chosenSignatures;
        return std::nullopt;
    }
    auto settings = readUpdateSettings(rooms_.configuration, reason);
    if (!settings)
        return std::nullopt;
    if (!settings->source.official && settings->source.databases.empty())
        reason = "no update source is configured";
    else if (access(settings->source.program.c_str(), X_OK) != 0)
        reason = settings->source.program + " is missing; install the package clamav-freshclam";
    return reason.empty() ? settings : std::nullopt;
}

bool UpdateService::busy() const
{
    if (!run_ || run_->over)
        return false;
    return run_->update != nullptr || Clock::now() - run_->prepared < kPreparedFor;
}

UpdateService::Prepared UpdateService::prepare()
{
    if (busy())
        return {0, Refusal::AlreadyRunning, QStringLiteral("the signatures are being updated")};
    std::string reason;
    auto settings = source(reason);
    if (!settings)
        return {0, Refusal::NoSource, QString::fromStdString(shown(reason))};
    wait();
    run_ = std::make_unique<Run>();
    run_->handle = ++lastHandle_;
    run_->settings = std::move(*settings);
    return {run_->handle, Refusal::None, QString()};
}

bool UpdateService::start(uint handle)
{
    if (!run_ || run_->handle != handle || run_->over || run_->update)
        return false;
    launch(Asked::ByUser);
    return true;
}

void UpdateService::launch(Asked asked)
{
    run_->asked = asked;
    const auto priority =
        asked == Asked::ByUser ? scan::Priority::Normal : scan::Priority::Background;
    run_->update = std::make_unique<update::SignatureUpdate>(
        rooms_.sets,
        update::SignatureUpdate::Task{
            run_->settings.source, systemSignatures(), wish(record_),
            [this, priority](const std::string &set) { return rooms_.pools.tryOut(set, priority); },
            [this] { rooms_.pools.adopt(); }});
    record_.attempted = std::time(nullptr);
    const std::string failure = rooms_.store.write(Kind::Signatures, record_);
    if (!failure.empty())
        log(Level::Error, failure);
    log(Level::Info, "an update of the signatures begins");
    thread_ = std::thread([this, run = run_.get()] {
        run->update->run();
        rooms_.pools.forgetTrial();
        QMetaObject::invokeMethod(
            this, [this] { ended(); }, Qt::QueuedConnection);
    });
}

void UpdateService::ended()
{
    if (!run_ || !run_->update || run_->over)
        return;
    wait();
    run_->result = run_->update->progress();
    const std::time_t coolDown = run_->update->coolDownUntil();
    const UpdateStatus status = run_->result.status;
    record_.status = static_cast<int>(status);
    record_.detail = shown(run_->result.detail);
    if (isFailure(status)) {
        ++record_.failures;
    } else if (status != UpdateStatus::Stopped) {
        record_.failures = 0;
        record_.succeeded = std::time(nullptr);
    }
    record_.notBefore = coolDown;
    const std::string failure = rooms_.store.write(Kind::Signatures, record_);
    if (!failure.empty())
        log(Level::Error, failure);
    // A machine without a network is no fault worth a warning every time.
    const bool quiet = !isFailure(status) ||
                       (run_->asked == Asked::ByClock && status == UpdateStatus::Unreachable);
    log(quiet ? Level::Info : Level::Warning,
        "the update of the signatures ended: " + record_.detail);
    run_->over = true;
    arm();
}

void UpdateService::wait()
{
    if (thread_.joinable())
        thread_.join();
}

bool UpdateService::stop(uint handle)
{
    if (!run_ || run_->handle != handle || run_->over)
        return false;
    if (run_->update)
        return run_->update->stop();
    run_->over = true;
    run_->result.status = UpdateStatus::Stopped;
    return true;
}

std::optional<interface::UpdateProgress> UpdateService::progress(uint handle) const
{
    if (!run_ || run_->handle != handle)
        return std::nullopt;
    update::UpdateProgress now = run_->result;
    if (!run_->over && run_->update) {
        now = run_->update->progress();
        // The end is told once all that goes with it is stored.
        if (update::isFinal(now.status))
            now.status = UpdateStatus::Installing;
    }
    interface::UpdateProgress answer;
    answer.status = static_cast<uint>(now.status);
    answer.total = kilobytes(now.total);
    answer.remaining = kilobytes(now.remaining);
    answer.percentage = now.percentage;
    answer.speed = static_cast<int>(std::min<qlonglong>(kilobytes(now.speed), INT_MAX));
    answer.detail = QString::fromStdString(shown(now.detail));
    return answer;
}

QVariantMap UpdateService::state()
{
    std::string reason;
    source(reason);
    const bool runs = busy();
    return {
        {QStringLiteral("signaturesRunning"), runs},
        {QStringLiteral("signaturesHandle"), runs ? run_->handle : 0u},
        {QStringLiteral("signaturesStatus"), record_.status},
        {QStringLiteral("signaturesDetail"), QString::fromStdString(shown(record_.detail))},
        {QStringLiteral("signaturesAttempted"), static_cast<qlonglong>(record_.attempted)},
        {QStringLiteral("signaturesSucceeded"), static_cast<qlonglong>(record_.succeeded)},
        {QStringLiteral("signaturesNotBefore"), static_cast<qlonglong>(record_.notBefore)},
        {QStringLiteral("signaturesNext"), static_cast<qlonglong>(next_)},
        {QStringLiteral("signaturesSource"), QString::fromStdString(shown(reason))},
    };
}

void UpdateService::arm()
{
    store::SettingValues values;
    const std::string failure = rooms_.settings.read(values);
    if (!failure.empty())
        log(Level::Error, failure);
    const bool wanted = failure.empty() && rooms_.chosenSignatures.empty() &&
                        values[store::Setting::AutomaticUpdate] == 1;
    next_ = wanted ? nextUpdate(record_, values[store::Setting::UpdateFrequency],
                                std::time(nullptr), chance())
                   : 0;
}

void UpdateService::tick()
{
    if (next_ == 0 || std::time(nullptr) < next_ || busy())
        return;
    if (prepare().refusal == Refusal::None)
        launch(Asked::ByClock);
    else
        next_ = std::time(nullptr) + std::chrono::seconds(updateInterval(0)).count();
}

void UpdateService::shutDown()
{
    clock_.stop();
    if (run_ && run_->update)
        run_->update->stop();
    wait();
}

} // namespace talo::service
