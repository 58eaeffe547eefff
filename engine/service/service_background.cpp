// What the service does of itself: opens the rooms that nobody has to ask.
#include "schedule/clock.h"
#include "service/guardservice.h"
#include "service/log.h"
#include "service/scanservice.h"
#include "service/scheduleservice.h"
#include "service/service.h"
#include "service/settingsservice.h"

namespace talo::service
{

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
