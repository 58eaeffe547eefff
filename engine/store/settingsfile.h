// The text of a file of settings, "Settings.ini".
//
// Groups in brackets, below each its keys with "=" and a value; lines that are empty or begin with
// ";" or "#" mean nothing. Every group and every key must be there once, in any order but for the
// first group, which tells the version of the form; nothing else may be. Exclusions are numbered
// from 1 in their order: "Location1=/srv", "Extension2=iso", and so are schedules, of which each is
// name, type, frequency, weekday, hour and minute as their interface has them:
// "Schedule1=Sunday,1,502,0,14,5". What a file says is anybody's word: it is checked to the last
// value before it is believed.
#pragma once

#include "store/exclusion.h"
#include "store/schedule.h"
#include "store/settingsstore.h"

#include <string>
#include <vector>

namespace talo::store
{

inline constexpr std::size_t kLargestSettingsFile = std::size_t{4} << 20u;

struct SettingsFile {
    std::vector<SettingsStore::Change> settings; // those that travel, in the table's order
    std::vector<Exclusion> exclusions;
    std::vector<ScheduleValues> schedules;
};

std::string renderSettingsFile(const SettingsFile &content);

// Empty, or what is wrong with the text and in which line; `content` is meaningless then. Nothing
// of the text is repeated in the answer.
std::string parseSettingsFile(const std::string &text, SettingsFile &content);

} // namespace talo::store
