// Every setting, once: what it is called, what it may be, and what it is until somebody says
// otherwise. The store, the bus, import and export all go by this table.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace talo::store
{

// Settings are read and changed a group at a time.
enum class Group { General, ScanActions, ExternalDrive, Firewall, Update, DeviceControl };

enum class Setting {
    ScanPacked,
    ScanArchives,
    InfectedFirst,
    InfectedSecond,
    SuspectedFirst,
    SuspectedSecond,
    HiddenFirst,
    HiddenSecond,
    ScanOnArrival,
    FirewallOn,
    AutomaticUpdate,
    UpdateFrequency,
    DevicesBlocked,
};
inline constexpr std::size_t kSettings = 13;

// Whether an exported file carries it.
enum class Travels : bool { No, Yes };

struct SettingRow {
    Setting setting;
    Group group;
    std::string_view key; // within its group
    std::int32_t least;
    std::int32_t most;
    std::int32_t byDefault;
    std::int32_t atFirst; // in a new installation
    Travels travels;
};

struct GroupRow {
    Group group;
    std::string_view name;
};

inline constexpr std::array<GroupRow, 6> kGroups{{
    {Group::General, "General"},
    {Group::ScanActions, "ScanActions"},
    {Group::ExternalDrive, "ExternalDrive"},
    {Group::Firewall, "Firewall"},
    {Group::Update, "Update"},
    {Group::DeviceControl, "DeviceControl"},
}};

// In the order of the enumeration. On and off are 1 and 0; actions 301 disinfect, 302 disinfect or
// delete, 303 delete, 304 report only, where 301 cannot be a second action; frequencies 0 every
// hour, 1 every two, 2 every six, 3 every twenty-four.
//
// The firewall's default is on, but a new installation leaves it off: it could cut off whoever set
// the machine up from afar.
inline constexpr std::array<SettingRow, kSettings> kTable{{
    {Setting::ScanPacked, Group::General, "ScanPacked", 0, 1, 1, 1, Travels::Yes},
    {Setting::ScanArchives, Group::General, "ScanArchives", 0, 1, 1, 1, Travels::Yes},
    {Setting::InfectedFirst, Group::ScanActions, "InfectedFirst", 301, 304, 301, 301, Travels::Yes},
    {Setting::InfectedSecond, Group::ScanActions, "InfectedSecond", 302, 304, 303, 303,
     Travels::Yes},
    {Setting::SuspectedFirst, Group::ScanActions, "SuspectedFirst", 301, 304, 304, 304,
     Travels::Yes},
    {Setting::SuspectedSecond, Group::ScanActions, "SuspectedSecond", 302, 304, 304, 304,
     Travels::Yes},
    {Setting::HiddenFirst, Group::ScanActions, "HiddenFirst", 301, 304, 301, 301, Travels::Yes},
    {Setting::HiddenSecond, Group::ScanActions, "HiddenSecond", 302, 304, 303, 303, Travels::Yes},
    {Setting::ScanOnArrival, Group::ExternalDrive, "ScanOnArrival", 0, 1, 1, 1, Travels::Yes},
    {Setting::FirewallOn, Group::Firewall, "On", 0, 1, 1, 0, Travels::Yes},
    {Setting::AutomaticUpdate, Group::Update, "Automatic", 0, 1, 1, 1, Travels::Yes},
    {Setting::UpdateFrequency, Group::Update, "Frequency", 0, 3, 2, 2, Travels::Yes},
    {Setting::DevicesBlocked, Group::DeviceControl, "Blocked", 0, 1, 0, 0, Travels::No},
}};

constexpr const SettingRow &rowOf(Setting setting)
{
    return kTable[static_cast<std::size_t>(setting)];
}

constexpr bool inRange(const SettingRow &row, std::int64_t value)
{
    return value >= row.least && value <= row.most;
}

std::optional<Group> groupNamed(std::string_view name);
std::string_view nameOf(Group group);
const SettingRow *findSetting(Group group, std::string_view key); // null if there is none

// One value for every setting.
class SettingValues
{
public:
    SettingValues() = default; // those of a new installation
    std::int32_t operator[](Setting setting) const
    {
        return values_[static_cast<std::size_t>(setting)];
    }
    std::int32_t &operator[](Setting setting) { return values_[static_cast<std::size_t>(setting)]; }

    void reset(Group group); // to the defaults
    bool equal(const SettingValues &other, Group group) const;

private:
    static constexpr std::array<std::int32_t, kSettings> atFirst()
    {
        std::array<std::int32_t, kSettings> values{};
        for (const SettingRow &row : kTable)
            values[static_cast<std::size_t>(row.setting)] = row.atFirst;
        return values;
    }
    std::array<std::int32_t, kSettings> values_ = atFirst();
};

} // namespace talo::store
