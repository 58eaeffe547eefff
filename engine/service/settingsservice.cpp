#include "service/settingsservice.h"

#include "service/log.h"

namespace talo::service
{

namespace
{

using store::Setting;
using Outcome = store::SettingsStore::Outcome;
using Result = store::SettingsStore::Result;

void logOutcome(store::Group group, const Outcome &outcome, const char *done)
{
    if (outcome.result == Result::Done)
        log(Level::Info, "settings " + std::string(store::nameOf(group)) + " " + done);
    else if (outcome.result == Result::Failed)
        log(Level::Error, outcome.reason);
}

scan::ClassActions actions(const store::SettingValues &values, Setting first, Setting second)
{
    return {static_cast<scan::Action>(values[first]), static_cast<scan::Action>(values[second])};
}

} // namespace

SettingsService::SettingsService(store::Database &database)
    : database_(database), settings_(database), exclusions_(database)
{
    const std::string failure = settings_.read(takenUp_);
    if (!failure.empty())
        log(Level::Error, failure);
}

Outcome SettingsService::apply(store::Group group,
                               const std::vector<store::SettingsStore::Change> &changes)
{
    Outcome outcome = settings_.apply(changes);
    logOutcome(group, outcome, "changed");
    takeUpAtOnce(group, outcome);
    return outcome;
}

Outcome SettingsService::applyDefault(store::Group group)
{
    Outcome outcome = settings_.applyDefault(group);
    logOutcome(group, outcome, "set to the defaults");
    takeUpAtOnce(group, outcome);
    return outcome;
}

void SettingsService::takeUpAtOnce(store::Group group, const Outcome &outcome)
{
    const bool silent =
        group == store::Group::DeviceControl || group == store::Group::ExternalDrive;
    if (silent && outcome.result == Result::Done)
        takeUp();
}

std::string SettingsService::takeUp()
{
    store::SettingValues now;
    std::string failure = settings_.read(now);
    if (!failure.empty()) {
        log(Level::Error, failure);
        return failure;
    }
    const store::SettingValues before = takenUp_;
    takenUp_ = now;
    for (const store::GroupRow &row : store::kGroups) {
        if (now.equal(before, row.group))
            continue;
        log(Level::Info, "settings " + std::string(row.name) + " taken up");
        emit changed(row.group, now);
    }
    return failure;
}

std::string SettingsService::exportAll(std::string &text)
{
    std::string failure = store::exportSettings(database_, text);
    if (!failure.empty())
        log(Level::Error, failure);
    return failure;
}

store::ImportOutcome SettingsService::importAll(const std::string &text, std::int64_t now)
{
    store::ImportOutcome outcome = store::importSettings(database_, text, now);
    switch (outcome.result) {
    case store::ImportOutcome::Result::Done:
        log(Level::Info, "settings imported");
        emit imported();
        break;
    case store::ImportOutcome::Result::NotValid:
        log(Level::Warning, "a settings file was refused: " + outcome.reason);
        break;
    case store::ImportOutcome::Result::Failed:
        log(Level::Error, outcome.reason);
        break;
    }
    return outcome;
}

store::ExclusionCode SettingsService::exclude(const store::Exclusion &entry)
{
    const auto outcome = exclusions_.add(entry);
    if (outcome.code == store::ExclusionCode::Done)
        log(Level::Info, "scans leave out " + entry.text); // printable, or it would be refused
    else if (!outcome.reason.empty())
        log(Level::Error, outcome.reason);
    return outcome.code;
}

store::ExclusionCode SettingsService::include(const store::Exclusion &entry)
{
    const auto outcome = exclusions_.remove(entry);
    if (outcome.code == store::ExclusionCode::Done)
        log(Level::Info, "scans no longer leave out " + entry.text);
    else if (!outcome.reason.empty())
        log(Level::Error, outcome.reason);
    return outcome.code;
}

scan::ScanSettings SettingsService::forScan()
{
    scan::ScanSettings settings;
    store::SettingValues values;
    std::vector<store::Exclusion> entries;
    std::string failure = settings_.read(values);
    if (failure.empty())
        failure = exclusions_.list(entries);
    if (!failure.empty()) {
        log(Level::Error, failure + "; the scan only reports");
        settings.infected = settings.suspected = settings.hidden = {};
        return settings;
    }
    settings.options.packed = values[Setting::ScanPacked] == 1;
    settings.options.archives = values[Setting::ScanArchives] == 1;
    settings.infected = actions(values, Setting::InfectedFirst, Setting::InfectedSecond);
    settings.suspected = actions(values, Setting::SuspectedFirst, Setting::SuspectedSecond);
    settings.hidden = actions(values, Setting::HiddenFirst, Setting::HiddenSecond);
    for (const store::Exclusion &entry : entries) {
        auto &list = entry.kind == store::ExclusionKind::Location ? settings.excluded.locations
                                                                  : settings.excluded.extensions;
        list.push_back(store::patternOf(entry));
    }
    return settings;
}

} // namespace talo::service
