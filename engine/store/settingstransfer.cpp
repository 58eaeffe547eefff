#include "store/settingstransfer.h"

#include "store/database.h"
#include "store/exclusionstore.h"
#include "store/schedulestore.h"
#include "store/settingsfile.h"
#include "store/statement.h"

namespace talo::store
{

std::string exportSettings(Database &database, std::string &text)
{
    const auto held = database.lock(); // nothing may change between the one and the other
    SettingsFile content;
    SettingValues values;
    std::string failure = SettingsStore(database).read(values);
    if (failure.empty())
        failure = ExclusionStore(database).list(content.exclusions);
    std::vector<StoredSchedule> schedules;
    if (failure.empty())
        failure = ScheduleStore(database).list(schedules);
    for (const StoredSchedule &schedule : schedules)
        content.schedules.push_back(schedule.values);
    for (const SettingRow &row : kTable)
        if (row.travels == Travels::Yes)
            content.settings.emplace_back(row.setting, values[row.setting]);
    if (failure.empty())
        text = renderSettingsFile(content);
    return failure;
}

ImportOutcome importSettings(Database &database, const std::string &text, std::int64_t now)
{
    SettingsFile content;
    std::string fault = parseSettingsFile(text, content);
    if (!fault.empty())
        return {ImportOutcome::Result::NotValid, std::move(fault)};
    const auto held = database.lock();
    Transaction change(database);
    if (!change.begun() || !SettingsStore::write(database, content.settings) ||
        !ExclusionStore::write(database, content.exclusions) ||
        !ScheduleStore::write(database, content.schedules, now) || !change.commit())
        return {ImportOutcome::Result::Failed,
                "the settings cannot be stored: " + lastError(database)};
    return {};
}

} // namespace talo::store
