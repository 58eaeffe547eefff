// The scheduled scans: keeps them, and starts them when it is time.
#pragma once

#include "schedule/agenda.h"
#include "schedule/alarm.h"
#include "schedule/clock.h"
#include "service/scanservice.h"
#include "store/schedulestore.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QSocketNotifier>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace talo::store
{
class Database;
}

namespace talo::service
{

// Lives on the service's main thread and is called there.
//
// Scheduled scans run one at a time, in the order in which they became due. One that cannot begin
// yet waits and is tried again; times that pass meanwhile go with it.
class ScheduleService : public QObject
{
    Q_OBJECT

public:
    // On its battery a machine is spared a scan for so long after its time, in seconds.
    static constexpr std::int64_t kLongestWaitForMains = std::int64_t{24} * 3600;

    struct Rooms {
        store::Database &database;
        schedule::Clock &clock;
        std::function<ScanService::Started(uint kind)> start;
        std::function<void(uint job)> stop;
        std::string powerSupplies; // folder of the kernel's class
    };
    explicit ScheduleService(Rooms rooms);

    store::ScheduleCode add(const store::ScheduleValues &values);
    store::ScheduleCode edit(const std::string &name, const store::ScheduleValues &values);
    store::ScheduleCode remove(const std::string &name);
    store::ScheduleCode find(const std::string &name, store::ScheduleValues &values);
    // Empty, or why they cannot be read.
    std::string list(interface::ScheduleList &schedules);

    std::int64_t now() { return rooms_.clock.now(); }

public slots:
    // Starts what is due and can begin. Called by itself when it is time; to be called besides when
    // the stored schedules were changed by somebody else.
    void look();
    void scanEnded(uint job);

private:
    using Outcome = store::ScheduleStore::Outcome;
    store::ScheduleCode taken(const Outcome &outcome, const std::string &what);
    void readZone();
    std::string readPlans(std::vector<store::StoredSchedule> &stored,
                          std::vector<schedule::Planned> &planned);
    // Why it waits; empty if it began.
    std::string begin(const store::StoredSchedule &schedule, const schedule::Due &due);

    Rooms rooms_;
    store::ScheduleStore store_;
    schedule::Zone zone_;
    bool zoneKnown_ = true;
    schedule::Alarm alarm_;
    QSocketNotifier ring_;
    QFileSystemWatcher zoneChange_;
    uint running_ = 0;                          // the job of the scheduled scan that runs
    std::map<std::int64_t, std::string> waits_; // why, of those that are due
    std::string failure_;                       // the last that was logged
};

} // namespace talo::service
