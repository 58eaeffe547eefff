// Statements and transactions of the database, ended when they leave their scope.
#pragma once

#include <cstdint>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace talo::store
{

class Database;

class Statement
{
public:
    Statement(Database &database, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    // Parameters in their order.
    Statement &bind(std::int64_t value);
    Statement &bind(const std::string &value);

    enum class Step { Row, Done, Failed };
    Step step();
    bool run() { return step() == Step::Done; }
    void reset(); // a statement that still has rows holds up a commit

    // Columns of the present row, from 0.
    std::int64_t integer(int column) const;
    std::string text(int column) const;
    bool isNull(int column) const;

private:
    sqlite3_stmt *statement_ = nullptr;
    int parameter_ = 0;
    bool failed_ = false;
};

// Undone unless committed.
class Transaction
{
public:
    explicit Transaction(Database &database);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    bool begun() const { return open_; }
    bool commit();

private:
    Database &database_;
    bool open_ = false;
};

bool execute(Database &database, const char *sql);
std::string lastError(Database &database);

} // namespace talo::store
