#include "store/settingstable.h"

namespace talo::store
{

namespace
{

constexpr bool inOrder()
{
    for (std::size_t at = 0; at < kTable.size(); ++at) {
        const SettingRow &row = kTable[at];
        if (static_cast<std::size_t>(row.setting) != at || !inRange(row, row.byDefault) ||
            !inRange(row, row.atFirst))
            return false;
    }
    return true;
}
static_assert(inOrder(), "the table is looked up by position, and begins with values it allows");

} // namespace

std::optional<Group> groupNamed(std::string_view name)
{
    for (const GroupRow &row : kGroups)
        if (row.name == name)
            return row.group;
    return std::nullopt;
}

std::string_view nameOf(Group group)
{
    return kGroups[static_cast<std::size_t>(group)].name;
}

const SettingRow *findSetting(Group group, std::string_view key)
{
    for (const SettingRow &row : kTable)
        if (row.group == group && row.key == key)
            return &row;
    return nullptr;
}

void SettingValues::reset(Group group)
{
    for (const SettingRow &row : kTable)
        if (row.group == group)
            (*this)[row.setting] = row.byDefault;
}

bool SettingValues::equal(const SettingValues &other, Group group) const
{
    for (const SettingRow &row : kTable)
        if (row.group == group && (*this)[row.setting] != other[row.setting])
            return false;
    return true;
}

} // namespace talo::store
