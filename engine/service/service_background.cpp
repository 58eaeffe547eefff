// What the service does of itself: opens the rooms that nobody has to ask.
#include "scan/memorypressure.h"
#include "schedule/clock.h"
#include "service/guardservice.h"
#include "service/log.h"
#include "service/paths.h"
#include "service/scanservice.h"
#include "service/scheduleservice.h"
#include "service/service.h"
#include "service/settingsservice.h"
#include "service/signaturepools.h"
#include "service/updateservice.h"
#include "update/signaturesets.h"

namespace talo::service
{

void Service::openSignatures()
{
    sets_ = std::make_unique<update::SignatureSets>(
        updatedSignatures(options_.state),
        [this](const std::string &set) { return pools_ && pools_->uses(set); });
    std::string notice;
    const std::string failure = sets_->open(notice);
    if (!failure.empty())
        log(Level::Error, failure);
    if (!notice.empty())
        log(Level::Warning, notice);
    scan::PoolConfig config;
    config.workerProgram = options_.worker;
    config.pressureReports = scan::pressureReports();
    if (config.pressureReports.empty())
        log(Level::Info, "the kernel does not tell when memory is short (CONFIG_PSI, or psi=1 at "
                         "the start); signatures are let go when idle alone");
    pools_ = std::make_unique<SignaturePools>(
        config, [this] { return signatures(); },
        [this](const SignatureSet &bad, const std::string &reason) {
            if (bad.folder != sets_->current())
                return false;
            const std::string failed = sets_->fallBack();
            log(Level::Warning,
                "the updated signatures cannot be loaded: " + reason +
                    (failed.empty() ? "; the set before them is used again" : "; " + failed));
            return failed.empty();
        });
}

void Service::openUpdates()
{
    updates_ = std::make_unique<UpdateService>(
        UpdateService::Rooms{store::UpdateStore(*database_), *settings_, *pools_, *sets_,
                             options_.configuration, options_.signatures});
}

ExitCode Service::openSchedules()
{
    clock_ = options_.scheduleClock.empty() ? schedule::systemClock()
                                            : schedule::trialClock(options_.scheduleClock);
    if (!clock_) {
        log(Level::Error, "--schedule-clock takes a moment in seconds since 1970 and maybe a rate, "
                          "as in 1795000000*60");
        return WrongUse;
    }
    if (!options_.scheduleClock.empty())
        log(Level::Warning, "schedules go by the trial clock of --schedule-clock");
    schedules_ = std::make_unique<ScheduleService>(ScheduleService::Rooms{
        *database_, *clock_,
        [this](uint kind) {
            return scans_->start(kind, QByteArrayLiteral("/"), ScanService::Origin::Schedule);
        },
        [this](uint job) { scans_->stop(job); }, options_.powerSupplies});
    connect(settings_.get(), &SettingsService::imported, schedules_.get(), &ScheduleService::look);
    connect(scans_.get(), &ScanService::scanEnded, schedules_.get(),
            [this](const ScanService::Ending &ending) { schedules_->scanEnded(ending.job); });
    return Done;
}

void Service::openGuards()
{
    guards_ = std::make_unique<GuardService>(options_.guardsMachine ? GuardService::Scope::Machine
                                                                    : GuardService::Scope::Own,
                                             options_.state, *scans_);
    connect(settings_.get(), &SettingsService::changed, guards_.get(), &GuardService::changed);
    store::SettingValues values;
    // Without settings nothing is changed: what stands may be all the protection there is.
    const std::string failure = settings_->read(values);
    if (failure.empty())
        guards_->start(values);
}

} // namespace talo::service
