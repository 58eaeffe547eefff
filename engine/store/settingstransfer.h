// All settings out of the store as one text, and all of a text into the store.
#pragma once

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
// Replaces every setting that travels and the whole list of exclusions, or nothing.
ImportOutcome importSettings(Database &database, const std::string &text);

} // namespace talo::store
