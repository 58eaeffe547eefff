#include "store/passwordstore.h"

#include "store/codepoints.h"
#include "store/database.h"
#include "store/statement.h"

#include <sqlite3.h>

namespace talo::store
{

namespace
{

PasswordStore::Change lookAt(const Secret &password, const Secret &confirmation)
{
    // Both are the caller's own: how long the comparison takes tells nobody anything.
    if (password.view() != confirmation.view())
        return PasswordStore::Change::Differ;
    const auto length = codePoints(password.view());
    if (!length || *length < PasswordStore::kShortest || *length > PasswordStore::kLongest)
        return PasswordStore::Change::Length;
    return PasswordStore::Change::Done;
}

} // namespace

void PasswordStore::tell(const std::string &what)
{
    if (tell_)
        tell_(what);
}

bool PasswordStore::read(std::string &hash, bool &on)
{
    const auto held = database_.lock();
    Statement row(database_, "SELECT coalesce(hash, ''), protected FROM password");
    if (row.step() != Statement::Step::Row) {
        tell("cannot read the password's record: " + lastError(database_));
        return false;
    }
    hash = row.text(0);
    on = row.integer(1) != 0;
    return true;
}

PasswordStore::Answer PasswordStore::exists()
{
    std::string hash;
    bool on = false;
    if (!read(hash, on))
        return Answer::Failed;
    return hash.empty() ? Answer::No : Answer::Yes;
}

PasswordStore::Answer PasswordStore::isProtected()
{
    std::string hash;
    bool on = false;
    if (!read(hash, on))
        return Answer::Failed;
    return on ? Answer::Yes : Answer::No;
}

bool PasswordStore::setProtected(bool on)
{
    const auto held = database_.lock();
    Statement update(database_, "UPDATE password SET protected = ?");
    const bool stored = update.bind(std::int64_t{on}).run();
    if (!stored)
        tell("cannot store whether the password guards the settings: " + lastError(database_));
    return stored;
}

Match PasswordStore::match(const Secret &password, std::string &hash)
{
    bool on = false;
    if (!read(hash, on))
        return Match::Failed;
    // Nothing longer was ever stored, and nobody is to keep the service busy with megabytes.
    const auto length = codePoints(password.view());
    if (hash.empty() || !length || *length > kLongest)
        return Match::No;
    const Match result = matchesHash(password, hash);
    if (result == Match::Failed)
        tell("cannot check a password: its record is unusable, or memory is short");
    return result;
}

PasswordStore::Answer PasswordStore::matches(const Secret &password)
{
    std::string hash;
    switch (match(password, hash)) {
    case Match::Yes:
        return Answer::Yes;
    case Match::No:
        return Answer::No;
    case Match::Failed:
        break;
    }
    return Answer::Failed;
}

PasswordStore::Change PasswordStore::create(const Secret &password, const Secret &confirmation)
{
    const Change fault = lookAt(password, confirmation);
    if (fault != Change::Done)
        return fault;
    const Answer there = exists();
    if (there != Answer::No)
        return there == Answer::Yes ? Change::Refused : Change::Failed;
    const std::string hash = hashPassword(password);
    if (hash.empty()) {
        tell("cannot create a password: memory is short");
        return Change::Failed;
    }
    const auto held = database_.lock();
    Statement update(database_, "UPDATE password SET hash = ? WHERE hash IS NULL");
    if (!update.bind(hash).run()) {
        tell("cannot store the password: " + lastError(database_));
        return Change::Failed;
    }
    // Another caller may have created one while this one was hashed.
    return sqlite3_changes(database_.handle()) == 1 ? Change::Done : Change::Refused;
}

PasswordStore::Change PasswordStore::change(const Secret &current, const Secret &password,
                                            const Secret &confirmation)
{
    std::string before;
    const Match match = this->match(current, before);
    if (match != Match::Yes)
        return match == Match::No ? Change::Refused : Change::Failed;
    const Change fault = lookAt(password, confirmation);
    if (fault != Change::Done)
        return fault;
    const std::string hash = hashPassword(password);
    if (hash.empty()) {
        tell("cannot change the password: memory is short");
        return Change::Failed;
    }
    const auto held = database_.lock();
    Statement update(database_, "UPDATE password SET hash = ? WHERE hash = ?");
    if (!update.bind(hash).bind(before).run()) {
        tell("cannot store the password: " + lastError(database_));
        return Change::Failed;
    }
    // What was the current password may have been replaced while the new one was hashed.
    return sqlite3_changes(database_.handle()) == 1 ? Change::Done : Change::Refused;
}

bool PasswordStore::replace(const std::string &hash)
{
    const auto held = database_.lock();
    Statement update(database_, "UPDATE password SET hash = ? WHERE hash IS NOT NULL");
    const bool stored =
        !hash.empty() && update.bind(hash).run() && sqlite3_changes(database_.handle()) == 1;
    if (!stored)
        tell("cannot store the new password: " + lastError(database_));
    return stored;
}

std::int64_t PasswordStore::wrongAttempts(std::uint32_t user)
{
    const auto held = database_.lock();
    Statement row(database_, "SELECT count FROM wrong_password WHERE user = ?");
    switch (row.bind(std::int64_t{user}).step()) {
    case Statement::Step::Row:
        return row.integer(0);
    case Statement::Step::Done:
        return 0;
    case Statement::Step::Failed:
        break;
    }
    tell("cannot read the wrong passwords' number: " + lastError(database_));
    return -1;
}

bool PasswordStore::setWrongAttempts(std::uint32_t user, std::int64_t count)
{
    const auto held = database_.lock();
    Statement change(database_, count == 0
                                    ? "DELETE FROM wrong_password WHERE user = ?"
                                    : "INSERT INTO wrong_password (user, count) VALUES (?, ?) ON "
                                      "CONFLICT (user) DO UPDATE SET count = excluded.count");
    change.bind(std::int64_t{user});
    if (count != 0)
        change.bind(count);
    const bool stored = change.run();
    if (!stored)
        tell("cannot store the wrong passwords' number: " + lastError(database_));
    return stored;
}

} // namespace talo::store
