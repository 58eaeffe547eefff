#include "store/updatestore.h"

#include "store/database.h"
#include "store/statement.h"

namespace talo::store
{

std::string UpdateStore::read(Kind kind, UpdateRecord &record)
{
    const auto lock = database_.lock();
    Statement statement(database_, "SELECT attempted, succeeded, status, detail, failures, "
                                   "not_before FROM update_run WHERE kind = ?");
    statement.bind(static_cast<std::int64_t>(kind));
    switch (statement.step()) {
    case Statement::Step::Row:
        record.attempted = statement.integer(0);
        record.succeeded = statement.integer(1);
        record.status = static_cast<int>(statement.integer(2));
        record.detail = statement.text(3);
        record.failures = static_cast<unsigned>(statement.integer(4));
        record.notBefore = statement.integer(5);
        return std::string();
    case Statement::Step::Done:
        record = UpdateRecord();
        return std::string();
    case Statement::Step::Failed:
        break;
    }
    return "the record of the updates cannot be read: " + lastError(database_);
}

std::string UpdateStore::write(Kind kind, const UpdateRecord &record)
{
    const auto lock = database_.lock();
    Statement statement(database_, "INSERT OR REPLACE INTO update_run (kind, attempted, succeeded, "
                                   "status, detail, failures, not_before) "
                                   "VALUES (?, ?, ?, ?, ?, ?, ?)");
    const bool written = statement.bind(static_cast<std::int64_t>(kind))
                             .bind(static_cast<std::int64_t>(record.attempted))
                             .bind(static_cast<std::int64_t>(record.succeeded))
                             .bind(static_cast<std::int64_t>(record.status))
                             .bind(record.detail)
                             .bind(static_cast<std::int64_t>(record.failures))
                             .bind(static_cast<std::int64_t>(record.notBefore))
                             .run();
    return written ? std::string()
                   : "the record of the updates cannot be written: " + lastError(database_);
}

} // namespace talo::store
