#include "service/scheduleservice.h"

#include "interface/names.h"
#include "schedule/power.h"
#include "service/log.h"
#include "store/database.h"
#include "store/statement.h"

#include <algorithm>

namespace talo::service
{

namespace
{

// What could not begin is tried again so often, in seconds. The end of a scan is told at once.
constexpr std::int64_t kRetryAfter = 60;
// Looked at least so often, for a time zone whose rules were updated on the disk.
constexpr std::int64_t kLongestSleep = 3600;

constexpr char kFolderOfLocalTime[] = "/etc";

schedule::Times timesOf(const store::ScheduleValues &values)
{
    static_assert(store::kEveryDay == schedule::kEveryDay);
    return {values.weekday, values.hour, values.minute};
}

} // namespace

ScheduleService::ScheduleService(Rooms rooms)
    : rooms_(std::move(rooms))
    , store_(rooms_.database)
    , ring_(alarm_.fd(), QSocketNotifier::Read)
    , zoneChange_({QString::fromLatin1(kFolderOfLocalTime)})
{
    if (alarm_.fd() < 0)
        log(Level::Error, "there is no timer to be had: scheduled scans will not run");
    connect(&ring_, &QSocketNotifier::activated, this, &ScheduleService::look);
    // Only what happens to "localtime" matters, but so little happens there that all may wake us.
    connect(&zoneChange_, &QFileSystemWatcher::directoryChanged, this, &ScheduleService::look);
}

store::ScheduleCode ScheduleService::taken(const Outcome &outcome, const std::string &what)
{
    if (outcome.code == store::ScheduleCode::Done) {
        log(Level::Info, what);
        look();
    } else if (!outcome.reason.empty()) {
        log(Level::Error, outcome.reason);
    }
    return outcome.code;
}

store::ScheduleCode ScheduleService::add(const store::ScheduleValues &values)
{
    return taken(store_.add(values, now()), "schedule " + values.name + " added");
}

store::ScheduleCode ScheduleService::edit(const std::string &name,
                                          const store::ScheduleValues &values)
{
    return taken(store_.edit(name, values, now()), "schedule " + values.name + " changed");
}

store::ScheduleCode ScheduleService::remove(const std::string &name)
{
    // Once it is found the name is one that can be printed.
    return taken(store_.remove(name), "schedule " + name + " removed");
}

store::ScheduleCode ScheduleService::find(const std::string &name, store::ScheduleValues &values)
{
    const Outcome outcome = store_.find(name, values);
    if (!outcome.reason.empty())
        log(Level::Error, outcome.reason);
    return outcome.code;
}

std::string ScheduleService::list(interface::ScheduleList &schedules)
{
    std::vector<store::StoredSchedule> stored;
    std::string failure = store_.list(stored);
    if (!failure.empty())
        log(Level::Error, failure);
    const schedule::Present present{now(), rooms_.clock.awakeFor()};
    for (const store::StoredSchedule &one : stored) {
        const schedule::Agenda agenda =
            schedule::agenda({{one.id, timesOf(one.values), one.settled}}, present, zone_);
        const auto waits = waits_.find(one.id);
        schedules.append(
            {QString::fromStdString(one.values.name), one.values.type, one.values.weekday,
             one.values.hour, one.values.minute, agenda.next.value_or(present.now),
             waits == waits_.end() ? QString() : QString::fromStdString(waits->second)});
    }
    return failure;
}

void ScheduleService::readZone()
{
    const auto zone = schedule::Zone::local();
    if (!zone && zoneKnown_)
        log(Level::Error, "the system's time zone cannot be read; schedules go by the last known "
                          "one, at first by UTC");
    zoneKnown_ = zone.has_value();
    if (zone)
        zone_ = *zone;
}

std::string ScheduleService::readPlans(std::vector<store::StoredSchedule> &stored,
                                       std::vector<schedule::Planned> &planned)
{
    std::string failure = store_.list(stored);
    for (const store::StoredSchedule &one : stored) {
        const schedule::Times times = timesOf(one.values);
        const std::int64_t settled = schedule::believed(times, one.settled, now());
        // A clock that had been wrong is not to be believed any longer, also after it has come near
        // to what it had shown.
        if (settled != one.settled && failure.empty())
            failure = store_.settle(one.id, settled);
        planned.push_back({one.id, times, settled});
    }
    return failure;
}

void ScheduleService::look()
{
    alarm_.taken();
    readZone();
    std::vector<store::StoredSchedule> stored;
    std::vector<schedule::Planned> planned;
    const std::string failure = readPlans(stored, planned);
    if (failure != failure_ && !failure.empty())
        log(Level::Error, failure);
    failure_ = failure;

    const auto agenda = schedule::agenda(planned, {now(), rooms_.clock.awakeFor()}, zone_);
    std::map<std::int64_t, std::string> before = std::exchange(waits_, {});
    for (const schedule::Due &due : agenda.due) {
        const auto one = std::find_if(stored.begin(), stored.end(),
                                      [&due](const auto &each) { return each.id == due.id; });
        const std::string reason = begin(*one, due);
        if (reason.empty())
            continue;
        waits_[due.id] = reason;
        if (before[due.id] != reason)
            log(Level::Info, "schedule " + one->values.name + " is due and waits: " + reason);
    }
    const bool again = !waits_.empty() || !failure.empty();
    const std::int64_t latest = now() + (again ? kRetryAfter : kLongestSleep);
    alarm_.set(std::min(agenda.next.value_or(latest), latest), rooms_.clock);
}

// That it has run and the report of its run are stored as one: whenever the service is killed, it
// has either not begun, and will, or it has.
std::string ScheduleService::begin(const store::StoredSchedule &schedule, const schedule::Due &due)
{
    if (running_ != 0)
        return "another scheduled scan is running";
    if (now() - due.since < kLongestWaitForMains && schedule::onBattery(rooms_.powerSupplies))
        return "the computer runs on its battery";
    const auto held = rooms_.database.lock();
    store::Transaction change(rooms_.database);
    std::string failure =
        change.begun() ? store_.settle(schedule.id, now()) : "the store cannot be written";
    if (!failure.empty())
        return failure;
    const ScanService::Started started = rooms_.start(static_cast<uint>(schedule.values.type));
    if (started.refusal != ScanService::Refusal::None)
        return started.reason.toStdString();
    if (!change.commit()) {
        rooms_.stop(started.job);
        return "the store cannot be written";
    }
    running_ = started.job;
    return {};
}

void ScheduleService::scanEnded(uint job)
{
    if (job == running_)
        running_ = 0;
    if (!waits_.empty())
        look();
}

} // namespace talo::service
