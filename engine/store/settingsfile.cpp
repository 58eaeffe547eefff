#include "store/settingsfile.h"

#include "store/exclusionstore.h"
#include "store/schedulestore.h"

#include <algorithm>
#include <bitset>
#include <charconv>
#include <climits>
#include <optional>

namespace talo::store
{

namespace
{

constexpr std::int64_t kVersion = 1;
constexpr std::string_view kHead = "TALO Antivirus Settings";
constexpr std::string_view kVersionKey = "Version";
constexpr std::string_view kExclusions = "Exclusions";
constexpr std::string_view kSchedules = "Schedules";
constexpr std::string_view kLocation = "Location";
constexpr std::string_view kExtension = "Extension";
constexpr std::string_view kSchedule = "Schedule";

std::optional<std::int64_t> numberIn(std::string_view text)
{
    std::int64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    // One form for one number: no leading zeros, no minus zero.
    if (error != std::errc() || stopped != end || std::to_string(number) != text)
        return std::nullopt;
    return number;
}

bool travels(Group group)
{
    return std::any_of(kTable.begin(), kTable.end(), [group](const SettingRow &row) {
        return row.group == group && row.travels == Travels::Yes;
    });
}

// Groups by their place in a list: the head, those of the table, and those that are not settings.
constexpr std::size_t kHeadPlace = 0;
constexpr std::size_t kExclusionsPlace = kGroups.size() + 1;
constexpr std::size_t kSchedulesPlace = kGroups.size() + 2;
constexpr std::size_t kPlaces = kGroups.size() + 3;

std::optional<std::size_t> placeOf(std::string_view name)
{
    if (name == kHead)
        return kHeadPlace;
    if (name == kExclusions)
        return kExclusionsPlace;
    if (name == kSchedules)
        return kSchedulesPlace;
    const std::optional<Group> group = groupNamed(name);
    if (!group || !travels(*group))
        return std::nullopt;
    return 1 + static_cast<std::size_t>(*group);
}

class Parser
{
public:
    explicit Parser(SettingsFile &content) : content_(content) {}

    std::string parse(std::string_view text);

private:
    // Each answers what is wrong, or null.
    const char *takeLine(std::string_view line);
    const char *takeGroup(std::string_view name);
    const char *takeEntry(std::string_view key, std::string_view value);
    const char *takeVersion(std::string_view key, std::string_view value);
    const char *takeSetting(Group group, std::string_view key, std::string_view value);
    const char *takeExclusion(std::string_view key, std::string_view value);
    const char *takeSchedule(std::string_view key, std::string_view value);
    const char *finish();

    SettingsFile &content_;
    std::optional<std::size_t> place_;
    std::bitset<kPlaces> groups_;
    bool version_ = false;
    std::array<std::optional<std::int64_t>, kSettings> values_;
};

std::string Parser::parse(std::string_view text)
{
    if (text.size() > kLargestSettingsFile)
        return "it is larger than 4 MiB";
    for (std::size_t number = 1; !text.empty(); ++number) {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (!line.empty() && line.back() == '\r') // an editor of another system
            line.remove_suffix(1);
        if (const char *const fault = takeLine(line))
            return "line " + std::to_string(number) + ": " + fault;
    }
    const char *const fault = finish();
    return fault == nullptr ? std::string() : fault;
}

const char *Parser::takeLine(std::string_view line)
{
    if (line.empty() || line.front() == ';' || line.front() == '#')
        return nullptr;
    if (line.front() == '[')
        return line.back() == ']' ? takeGroup(line.substr(1, line.size() - 2))
                                  : "a group's name has no end";
    const std::size_t sign = line.find('=');
    if (sign == line.npos)
        return "neither a group nor a key with its value";
    return takeEntry(line.substr(0, sign), line.substr(sign + 1));
}

const char *Parser::takeGroup(std::string_view name)
{
    place_ = placeOf(name);
    if (!place_)
        return "an unknown group";
    if (!groups_[kHeadPlace] && *place_ != kHeadPlace)
        return "not a file of settings of TALO Antivirus";
    if (groups_[*place_])
        return "a group for the second time";
    if (*place_ != kHeadPlace && !version_)
        return "the version is missing";
    groups_.set(*place_);
    return nullptr;
}

const char *Parser::takeEntry(std::string_view key, std::string_view value)
{
    if (!place_)
        return "a value before the first group";
    switch (*place_) {
    case kHeadPlace:
        return takeVersion(key, value);
    case kExclusionsPlace:
        return takeExclusion(key, value);
    case kSchedulesPlace:
        return takeSchedule(key, value);
    default:
        return takeSetting(static_cast<Group>(*place_ - 1), key, value);
    }
}

const char *Parser::takeVersion(std::string_view key, std::string_view value)
{
    if (key != kVersionKey)
        return "an unknown key";
    if (version_)
        return "a key for the second time";
    const auto number = numberIn(value);
    if (!number || *number < 1)
        return "no version";
    if (*number > kVersion)
        return "the form of a newer version of TALO Antivirus";
    version_ = true;
    return nullptr;
}

const char *Parser::takeSetting(Group group, std::string_view key, std::string_view value)
{
    const SettingRow *const row = findSetting(group, key);
    if (row == nullptr || row->travels == Travels::No)
        return "an unknown key";
    std::optional<std::int64_t> &place = values_[static_cast<std::size_t>(row->setting)];
    if (place)
        return "a key for the second time";
    place = numberIn(value);
    if (!place)
        return "not a number";
    return inRange(*row, *place) ? nullptr : "a value out of its range";
}

const char *Parser::takeExclusion(std::string_view key, std::string_view value)
{
    if (content_.exclusions.size() == ExclusionStore::kMostEntries)
        return "too many exclusions";
    const std::string number = std::to_string(content_.exclusions.size() + 1);
    for (const auto &[name, kind] : {std::pair{kLocation, ExclusionKind::Location},
                                     std::pair{kExtension, ExclusionKind::Extension}}) {
        if (key.substr(0, name.size()) != name || key.substr(name.size()) != number)
            continue;
        content_.exclusions.push_back({kind, std::string(value)});
        return fitness(content_.exclusions.back()) == ExclusionCode::Done
                   ? nullptr
                   : "a text that cannot be excluded";
    }
    return "an unknown key, or one out of turn";
}

const char *Parser::takeSchedule(std::string_view key, std::string_view value)
{
    if (content_.schedules.size() == ScheduleStore::kMostSchedules)
        return "too many schedules";
    const std::string number = std::to_string(content_.schedules.size() + 1);
    if (key.substr(0, kSchedule.size()) != kSchedule || key.substr(kSchedule.size()) != number)
        return "an unknown key, or one out of turn";
    ScheduleValues &schedule = content_.schedules.emplace_back();
    schedule.name = value.substr(0, value.find(','));
    value.remove_prefix(schedule.name.size());
    for (int *part : {&schedule.type, &schedule.frequency, &schedule.weekday, &schedule.hour,
                      &schedule.minute}) {
        const std::string_view text = value.substr(0, value.find(',', 1));
        const auto given = numberIn(text.substr(text.empty() ? 0 : 1));
        if (!given || *given < 0 || *given > INT_MAX)
            return "not a schedule";
        *part = static_cast<int>(*given);
        value.remove_prefix(text.size());
    }
    return value.empty() ? nullptr : "not a schedule";
}

const char *Parser::finish()
{
    for (const GroupRow &row : kGroups)
        if (travels(row.group) && !groups_[*placeOf(row.name)])
            return "a group is missing";
    if (!groups_[kExclusionsPlace] || !groups_[kSchedulesPlace])
        return "a group is missing";
    for (const SettingRow &row : kTable) {
        if (row.travels == Travels::No)
            continue;
        const auto &value = values_[static_cast<std::size_t>(row.setting)];
        if (!value)
            return "a key is missing";
        content_.settings.emplace_back(row.setting, *value);
    }
    if (ExclusionStore::check(content_.exclusions).code != ExclusionCode::Done)
        return "an exclusion for the second time, or too many of them";
    if (ScheduleStore::check(content_.schedules) != ScheduleCode::Done)
        return "a schedule with a name or a value that cannot be, or for the second time";
    return nullptr;
}

void beginGroup(std::string &text, std::string_view name)
{
    text.append("\n[").append(name).append("]\n");
}

void addEntry(std::string &text, std::string_view key, std::string_view value)
{
    text.append(key).append(1, '=').append(value).append(1, '\n');
}

} // namespace

std::string renderSettingsFile(const SettingsFile &content)
{
    std::string text;
    text.append(1, '[').append(kHead).append("]\n");
    addEntry(text, kVersionKey, std::to_string(kVersion));
    for (const GroupRow &row : kGroups) {
        if (!travels(row.group))
            continue;
        beginGroup(text, row.name);
        for (const auto &[setting, value] : content.settings)
            if (rowOf(setting).group == row.group)
                addEntry(text, rowOf(setting).key, std::to_string(value));
    }
    beginGroup(text, kExclusions);
    std::size_t number = 0;
    for (const Exclusion &entry : content.exclusions) {
        const bool location = entry.kind == ExclusionKind::Location;
        addEntry(text, std::string(location ? kLocation : kExtension) + std::to_string(++number),
                 entry.text);
    }
    beginGroup(text, kSchedules);
    number = 0;
    for (const ScheduleValues &schedule : content.schedules) {
        std::string value = schedule.name;
        for (const int part :
             {schedule.type, schedule.frequency, schedule.weekday, schedule.hour, schedule.minute})
            value.append(1, ',').append(std::to_string(part));
        addEntry(text, std::string(kSchedule) + std::to_string(++number), value);
    }
    return text;
}

std::string parseSettingsFile(const std::string &text, SettingsFile &content)
{
    content = SettingsFile();
    return Parser(content).parse(text);
}

} // namespace talo::store
