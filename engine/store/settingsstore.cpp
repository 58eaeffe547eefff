#include "store/settingsstore.h"

#include "store/database.h"
#include "store/statement.h"

namespace talo::store
{

namespace
{

std::string storedName(const SettingRow &row)
{
    return std::string(nameOf(row.group)) + "/" + std::string(row.key);
}

const SettingRow *rowStoredAs(const std::string &name)
{
    for (const SettingRow &row : kTable)
        if (storedName(row) == name)
            return &row;
    return nullptr;
}

std::string rangeInWords(const SettingRow &row, std::int64_t value)
{
    return storedName(row) + " must be " + std::to_string(row.least) + " to " +
           std::to_string(row.most) + ", not " + std::to_string(value);
}

} // namespace

std::string SettingsStore::read(SettingValues &values)
{
    values = SettingValues();
    const auto held = database_.lock();
    Statement select(database_, "SELECT name, value FROM setting");
    Statement::Step step = Statement::Step::Row;
    SettingValues stored;
    while ((step = select.step()) == Statement::Step::Row) {
        const SettingRow *const row = rowStoredAs(select.text(0));
        const std::int64_t value = select.integer(1);
        if (row != nullptr && inRange(*row, value))
            stored[row->setting] = static_cast<std::int32_t>(value);
    }
    if (step == Statement::Step::Failed)
        return "the settings cannot be read: " + lastError(database_);
    values = stored;
    return std::string();
}

SettingsStore::Outcome SettingsStore::apply(const std::vector<Change> &changes)
{
    for (const auto &[setting, value] : changes)
        if (!inRange(rowOf(setting), value))
            return {Result::OutOfRange, rangeInWords(rowOf(setting), value)};
    const auto held = database_.lock();
    Transaction change(database_);
    if (!change.begun() || !write(database_, changes) || !change.commit())
        return {Result::Failed, "the settings cannot be stored: " + lastError(database_)};
    return {};
}

SettingsStore::Outcome SettingsStore::applyDefault(Group group)
{
    std::vector<Change> changes;
    for (const SettingRow &row : kTable)
        if (row.group == group)
            changes.emplace_back(row.setting, row.byDefault);
    return apply(changes);
}

bool SettingsStore::write(Database &database, const std::vector<Change> &changes)
{
    for (const auto &[setting, value] : changes) {
        Statement replace(database, "INSERT OR REPLACE INTO setting VALUES (?, ?)");
        if (!replace.bind(storedName(rowOf(setting))).bind(value).run())
            return false;
    }
    return true;
}

} // namespace talo::store
