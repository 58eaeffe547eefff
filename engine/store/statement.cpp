#include "store/statement.h"

#include "store/database.h"

#include <sqlite3.h>

namespace talo::store
{

Statement::Statement(Database &database, const char *sql)
{
    failed_ = sqlite3_prepare_v2(database.handle(), sql, -1, &statement_, nullptr) != SQLITE_OK;
}

Statement::~Statement()
{
    sqlite3_finalize(statement_);
}

Statement &Statement::bind(std::int64_t value)
{
    failed_ = failed_ || sqlite3_bind_int64(statement_, ++parameter_, value) != SQLITE_OK;
    return *this;
}

Statement &Statement::bind(const std::string &value)
{
    failed_ = failed_ || sqlite3_bind_text64(statement_, ++parameter_, value.data(), value.size(),
                                             SQLITE_TRANSIENT, SQLITE_UTF8) != SQLITE_OK;
    return *this;
}

Statement::Step Statement::step()
{
    if (failed_)
        return Step::Failed;
    switch (sqlite3_step(statement_)) {
    case SQLITE_ROW:
        return Step::Row;
    case SQLITE_DONE:
        return Step::Done;
    default:
        return Step::Failed;
    }
}

void Statement::reset()
{
    sqlite3_reset(statement_);
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(statement_, column);
}

std::string Statement::text(int column) const
{
    const unsigned char *bytes = sqlite3_column_text(statement_, column);
    if (bytes == nullptr)
        return std::string();
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return std::string(reinterpret_cast<const char *>(bytes), size);
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

// IMMEDIATE: a transaction that cannot write fails here and not at its commit.
Transaction::Transaction(Database &database)
    : database_(database), open_(execute(database, "BEGIN IMMEDIATE"))
{
}

Transaction::~Transaction()
{
    if (open_)
        execute(database_, "ROLLBACK");
}

bool Transaction::commit()
{
    if (!open_ || !execute(database_, "COMMIT"))
        return false;
    open_ = false;
    return true;
}

bool execute(Database &database, const char *sql)
{
    return sqlite3_exec(database.handle(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string lastError(Database &database)
{
    return sqlite3_errmsg(database.handle());
}

} // namespace talo::store
