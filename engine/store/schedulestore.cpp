#include "store/schedulestore.h"

#include "store/database.h"
#include "store/statement.h"

#include <set>
#include <tuple>

namespace talo::store
{

namespace
{

constexpr char kCannotStore[] = "the schedule cannot be stored";
constexpr char kFull[] = "there is no room for more schedules";
constexpr char kColumns[] = "SELECT id, name, type, frequency, weekday, hour, minute, settled "
                            "FROM schedule ";
constexpr std::int64_t kNone = 0; // no schedule has this id

std::string key(const std::string &name)
{
    return keyOfName(name).value_or(std::string()); // no name is empty
}

StoredSchedule current(const Statement &row)
{
    const auto number = [&row](int column) { return static_cast<int>(row.integer(column)); };
    return {row.integer(0),
            {row.text(1), number(2), number(3), number(4), number(5), number(6)},
            row.integer(7)};
}

void bindTimes(Statement &statement, const ScheduleValues &values)
{
    for (const int value :
         {values.type, values.frequency, values.weekday, values.hour, values.minute})
        statement.bind(std::int64_t{value});
}

bool insert(Database &database, const ScheduleValues &values, std::int64_t now)
{
    Statement insert(database, "INSERT INTO schedule (name, key, type, frequency, weekday, hour, "
                               "minute, settled) VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(values.name).bind(key(values.name));
    bindTimes(insert, values);
    return insert.bind(now).run();
}

auto timesOf(const ScheduleValues &values)
{
    return std::tuple(values.type, values.frequency, values.weekday, values.hour, values.minute);
}

} // namespace

ScheduleStore::Outcome ScheduleStore::failed(const char *what)
{
    return {ScheduleCode::Refused, std::string(what) + ": " + lastError(database_)};
}

// Of a name that is fit; in the order in which the codes take precedence. `besides` is the one that
// is being edited.
ScheduleStore::Outcome ScheduleStore::judge(const ScheduleValues &values, std::int64_t besides)
{
    Statement name(database_, "SELECT 1 FROM schedule WHERE key = ? AND id != ?");
    Statement times(database_, "SELECT 1 FROM schedule WHERE type = ? AND frequency = ? AND "
                               "weekday = ? AND hour = ? AND minute = ? AND id != ?");
    name.bind(key(values.name)).bind(besides);
    bindTimes(times, values);
    times.bind(besides);
    const std::pair<Statement &, ScheduleCode> questions[] = {{name, ScheduleCode::NameTaken},
                                                              {times, ScheduleCode::SameTimes}};
    for (const auto &[question, code] : questions) {
        const Statement::Step found = question.step();
        if (found == Statement::Step::Row)
            return {code, {}};
        if (found == Statement::Step::Failed)
            return failed("the schedules cannot be read");
    }
    return {inRange(values) ? ScheduleCode::Done : ScheduleCode::OutOfRange, {}};
}

ScheduleStore::Outcome ScheduleStore::identify(const std::string &name, StoredSchedule &schedule)
{
    Statement select(database_, (std::string(kColumns) + "WHERE key = ?").c_str());
    const Statement::Step found = select.bind(key(name)).step();
    if (found == Statement::Step::Failed)
        return failed("the schedules cannot be read");
    if (found == Statement::Step::Done)
        return {ScheduleCode::NoSuchSchedule, {}};
    schedule = current(select);
    return {};
}

ScheduleStore::Outcome ScheduleStore::add(const ScheduleValues &values, std::int64_t now)
{
    const ScheduleCode fit = fitnessOfName(values.name);
    if (fit != ScheduleCode::Done)
        return {fit, {}};
    const auto held = database_.lock();
    Transaction change(database_);
    if (!change.begun())
        return failed(kCannotStore);
    Outcome outcome = judge(values, kNone);
    if (outcome.code != ScheduleCode::Done)
        return outcome;
    {
        Statement room(database_, "SELECT count(*) FROM schedule");
        if (room.step() == Statement::Step::Row &&
            static_cast<std::size_t>(room.integer(0)) >= kMostSchedules)
            return {ScheduleCode::Refused, kFull};
    }
    if (!insert(database_, values, now) || !change.commit())
        return failed(kCannotStore);
    return outcome;
}

ScheduleStore::Outcome ScheduleStore::edit(const std::string &name, const ScheduleValues &values,
                                           std::int64_t now)
{
    const ScheduleCode fit = fitnessOfName(values.name);
    if (fit != ScheduleCode::Done)
        return {fit, {}};
    const auto held = database_.lock();
    Transaction change(database_);
    if (!change.begun())
        return failed(kCannotStore);
    StoredSchedule old;
    Outcome known = identify(name, old);
    if (known.code == ScheduleCode::Refused)
        return known;
    Outcome judged = judge(values, old.id);
    if (judged.code != ScheduleCode::Done)
        return judged;
    if (known.code != ScheduleCode::Done)
        return known;
    const bool sameTimes = timesOf(values) == timesOf(old.values);
    Statement update(database_, "UPDATE schedule SET name = ?, key = ?, type = ?, frequency = ?, "
                                "weekday = ?, hour = ?, minute = ?, settled = ? WHERE id = ?");
    update.bind(values.name).bind(key(values.name));
    bindTimes(update, values);
    update.bind(sameTimes ? old.settled : now).bind(old.id);
    if (!update.run() || !change.commit())
        return failed(kCannotStore);
    return {};
}

ScheduleStore::Outcome ScheduleStore::remove(const std::string &name)
{
    const auto held = database_.lock();
    Statement remove(database_, "DELETE FROM schedule WHERE key = ? RETURNING id");
    const Statement::Step step = remove.bind(key(name)).step();
    if (step == Statement::Step::Done)
        return {ScheduleCode::NoSuchSchedule, {}};
    if (step == Statement::Step::Failed || !remove.run())
        return failed("the schedule cannot be removed");
    return {};
}

ScheduleStore::Outcome ScheduleStore::find(const std::string &name, ScheduleValues &values)
{
    const auto held = database_.lock();
    StoredSchedule schedule;
    Outcome outcome = identify(name, schedule);
    if (outcome.code == ScheduleCode::Done)
        values = schedule.values;
    return outcome;
}

std::string ScheduleStore::list(std::vector<StoredSchedule> &schedules)
{
    schedules.clear();
    const auto held = database_.lock();
    Statement select(database_, (std::string(kColumns) + "ORDER BY id").c_str());
    Statement::Step step = Statement::Step::Row;
    while ((step = select.step()) == Statement::Step::Row)
        schedules.push_back(current(select));
    if (step == Statement::Step::Done)
        return std::string();
    schedules.clear();
    return "the schedules cannot be read: " + lastError(database_);
}

std::string ScheduleStore::settle(std::int64_t id, std::int64_t until)
{
    const auto held = database_.lock();
    Statement update(database_, "UPDATE schedule SET settled = ? WHERE id = ?");
    if (update.bind(until).bind(id).run())
        return std::string();
    return "a schedule's run cannot be stored: " + lastError(database_);
}

ScheduleCode ScheduleStore::check(const std::vector<ScheduleValues> &schedules)
{
    std::set<std::string> names;
    std::set<decltype(timesOf(ScheduleValues()))> times;
    for (const ScheduleValues &values : schedules) {
        const ScheduleCode fit = fitnessOfName(values.name);
        if (fit != ScheduleCode::Done)
            return fit;
        if (!names.insert(key(values.name)).second)
            return ScheduleCode::NameTaken;
        if (!times.insert(timesOf(values)).second)
            return ScheduleCode::SameTimes;
        if (!inRange(values))
            return ScheduleCode::OutOfRange;
    }
    return schedules.size() > kMostSchedules ? ScheduleCode::Refused : ScheduleCode::Done;
}

bool ScheduleStore::write(Database &database, const std::vector<ScheduleValues> &schedules,
                          std::int64_t now)
{
    if (!execute(database, "DELETE FROM schedule"))
        return false;
    for (const ScheduleValues &values : schedules)
        if (!insert(database, values, now))
            return false;
    return true;
}

} // namespace talo::store
