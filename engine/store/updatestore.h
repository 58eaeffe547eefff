// What is remembered of the updates over a restart.
#pragma once

#include <ctime>
#include <string>

namespace talo::store
{

class Database;

struct UpdateRecord {
    std::time_t attempted = 0; // when the last run began; 0: never
    std::time_t succeeded = 0; // when a run last ended with the latest in use
    int status = -1;           // final status of the last run; -1 while none has ended
    std::string detail;        // why, in words
    unsigned failures = 0;     // runs in a row that failed
    std::time_t notBefore = 0; // when the server wants to be asked again at the earliest
};

class UpdateStore
{
public:
    enum class Kind { Signatures = 0, Program = 1 };
    explicit UpdateStore(Database &database) : database_(database) {}

    // Empty, or why it cannot be done.
    std::string read(Kind kind, UpdateRecord &record);
    std::string write(Kind kind, const UpdateRecord &record);

private:
    Database &database_;
};

} // namespace talo::store
