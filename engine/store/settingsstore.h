// The store of settings.
#pragma once

#include "store/settingstable.h"

#include <string>
#include <utility>
#include <vector>

namespace talo::store
{

class Database;

// May be used from any thread. What is in the database but not in the table, or outside its range,
// is read as the value of a new installation.
class SettingsStore
{
public:
    explicit SettingsStore(Database &database) : database_(database) {}

    // Empty, or why they cannot be read; `values` is that of a new installation then.
    std::string read(SettingValues &values);

    enum class Result { Done, OutOfRange, Failed };
    struct Outcome {
        Result result = Result::Done;
        std::string reason;
    };
    using Change = std::pair<Setting, std::int64_t>;

    // All of the values or none.
    Outcome apply(const std::vector<Change> &changes);
    Outcome applyDefault(Group group);

    // For a transaction of the caller's that holds more than settings.
    static bool write(Database &database, const std::vector<Change> &changes);

private:
    Database &database_;
};

} // namespace talo::store
