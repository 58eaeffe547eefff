#include "store/exclusionstore.h"

#include "store/database.h"
#include "store/statement.h"

#include <set>

namespace talo::store
{

namespace
{

constexpr char kFull[] = "there is no room for more exclusions";

std::int64_t number(ExclusionKind kind)
{
    return static_cast<std::int64_t>(kind);
}

bool insert(Database &database, const Exclusion &entry)
{
    Statement insert(database, "INSERT INTO exclusion (kind, text, pattern) VALUES (?, ?, ?)");
    return insert.bind(number(entry.kind)).bind(entry.text).bind(patternOf(entry)).run();
}

} // namespace

ExclusionStore::Outcome ExclusionStore::add(const Exclusion &entry)
{
    const ExclusionCode fit = fitness(entry);
    if (fit != ExclusionCode::Done)
        return {fit, {}};
    const auto held = database_.lock();
    const auto failed = [this] {
        return Outcome{ExclusionCode::Refused,
                       "the exclusion cannot be stored: " + lastError(database_)};
    };
    Transaction change(database_);
    Statement same(database_, "SELECT 1 FROM exclusion WHERE kind = ? AND pattern = ?");
    const Statement::Step found = same.bind(number(entry.kind)).bind(patternOf(entry)).step();
    if (found == Statement::Step::Row)
        return {ExclusionCode::AlreadyThere, {}};
    Statement room(database_, "SELECT count(*), coalesce(sum(length(CAST(text AS BLOB))), 0) "
                              "FROM exclusion");
    if (!change.begun() || found == Statement::Step::Failed || room.step() != Statement::Step::Row)
        return failed();
    const auto entries = static_cast<std::size_t>(room.integer(0));
    const auto text = static_cast<std::size_t>(room.integer(1));
    if (entries >= kMostEntries || text + entry.text.size() > kMostText)
        return {ExclusionCode::Refused, kFull};
    room.reset();
    if (!insert(database_, entry) || !change.commit())
        return failed();
    return {};
}

ExclusionStore::Outcome ExclusionStore::remove(const Exclusion &entry)
{
    const auto held = database_.lock();
    Statement remove(database_, "DELETE FROM exclusion WHERE kind = ? AND text = ? RETURNING id");
    const Statement::Step step = remove.bind(number(entry.kind)).bind(entry.text).step();
    if (step == Statement::Step::Done)
        return {ExclusionCode::NoSuchEntry, {}};
    if (step == Statement::Step::Failed || !remove.run())
        return {ExclusionCode::Refused, "the exclusion cannot be removed: " + lastError(database_)};
    return {};
}

std::string ExclusionStore::list(std::vector<Exclusion> &entries)
{
    entries.clear();
    const auto held = database_.lock();
    Statement select(database_, "SELECT kind, text FROM exclusion ORDER BY id");
    Statement::Step step = Statement::Step::Row;
    while ((step = select.step()) == Statement::Step::Row)
        entries.push_back({static_cast<ExclusionKind>(select.integer(0)), select.text(1)});
    if (step == Statement::Step::Done)
        return std::string();
    entries.clear();
    return "the exclusions cannot be read: " + lastError(database_);
}

ExclusionStore::Outcome ExclusionStore::check(const std::vector<Exclusion> &entries)
{
    std::set<std::pair<ExclusionKind, std::string>> patterns;
    std::size_t text = 0;
    for (const Exclusion &entry : entries) {
        const ExclusionCode fit = fitness(entry);
        if (fit != ExclusionCode::Done)
            return {fit, {}};
        if (!patterns.emplace(entry.kind, patternOf(entry)).second)
            return {ExclusionCode::AlreadyThere, {}};
        text += entry.text.size();
    }
    if (entries.size() > kMostEntries || text > kMostText)
        return {ExclusionCode::Refused, kFull};
    return {};
}

bool ExclusionStore::write(Database &database, const std::vector<Exclusion> &entries)
{
    if (!execute(database, "DELETE FROM exclusion"))
        return false;
    for (const Exclusion &entry : entries)
        if (!insert(database, entry))
            return false;
    return true;
}

} // namespace talo::store
