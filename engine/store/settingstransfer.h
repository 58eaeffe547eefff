// All settings out of the store as one text, and all of a text into the store.
#pragma once

#include <cstdint>
#include <string>

namespace talo::store
{

class Database;

// Empty, or why the store cannot be read. Settings that do not travel are left out.
std::string exportSettings(Database &database, std::string &text);

struct ImportOutcome {
    enum class Result { Done, NotValid, Failed };
    Result result = Result::Done;
    std::string reason;
};
// Replaces every setting that travels and the whole lists of exclusions and schedules, or nothing.
// The schedules begin anew with `now`, in seconds since 1970.
ImportOutcome importSettings(Database &database, const std::string &text, std::int64_t now);

} // namespace talo::store
