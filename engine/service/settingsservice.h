// The settings and exclusions: changes them, tells scans of them, and tells running parts that they
// have changed.
#pragma once

#include "scan/job.h"
#include "store/exclusionstore.h"
#include "store/settingsstore.h"
#include "store/settingstransfer.h"

#include <QObject>

namespace talo::store
{
class Database;
}

namespace talo::service
{

// Lives on the service's main thread and is called there. Texts that it returns say why something
// could not be done; empty for done.
class SettingsService : public QObject
{
    Q_OBJECT

public:
    explicit SettingsService(store::Database &database);

    std::string read(store::SettingValues &values) { return settings_.read(values); }
    store::SettingsStore::Outcome apply(store::Group group,
                                        const std::vector<store::SettingsStore::Change> &changes);
    store::SettingsStore::Outcome applyDefault(store::Group group);

    // Emits changed() for every group whose stored values are not those last taken up.
    std::string takeUp();

    std::string exportAll(std::string &text);
    // The imported schedules begin with `now`. Emits imported() when it is done.
    store::ImportOutcome importAll(const std::string &text, std::int64_t now);

    store::ExclusionCode exclude(const store::Exclusion &entry);
    store::ExclusionCode include(const store::Exclusion &entry); // an entry of the list again
    std::string excluded(std::vector<store::Exclusion> &entries)
    {
        return exclusions_.list(entries);
    }

    // What a scan that begins now goes by. Where the settings cannot be read it only reports: doing
    // less than the user wished can be made good, deleting cannot.
    scan::ScanSettings forScan();

signals:
    void changed(talo::store::Group group, const talo::store::SettingValues &values);
    void imported();

private:
    // After a change of these groups callers give no word, as the operations have it.
    void takeUpAtOnce(store::Group group, const store::SettingsStore::Outcome &outcome);

    store::Database &database_;
    store::SettingsStore settings_;
    store::ExclusionStore exclusions_;
    store::SettingValues takenUp_;
};

} // namespace talo::service
