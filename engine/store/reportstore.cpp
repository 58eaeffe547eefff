#include "store/reportstore.h"

#include "store/database.h"
#include "store/moments.h"
#include "store/reporttext.h"
#include "store/statement.h"

#include <algorithm>

namespace talo::store
{

namespace
{

constexpr int kUnusable = 201;
constexpr int kNoSuchReport = 203;
constexpr int kNoneInRange = 204;
constexpr int kStartAfterEnd = 205;
constexpr int kNoDate = 206;

constexpr std::size_t kBatch = 100;
constexpr std::size_t kMostUnstored = 10000; // threats; the totals count the others
constexpr char kLastFullScan[] = "last_full_scan";
constexpr std::size_t kDateLength = 10; // of "2026-11-21"

std::int64_t stored(std::uint64_t value)
{
    return static_cast<std::int64_t>(value);
}

bool isFullScan(const std::string &type)
{
    return type == "Full Scan" || type == "Scheduled Full Scan";
}

} // namespace

ReportStore::ReportStore(Database &database, Clock clock)
    : database_(database), clock_(std::move(clock))
{
    closeInterrupted();
}

void ReportStore::tell(const std::string &what)
{
    if (tell_)
        tell_(what + ": " + lastError(database_));
}

void ReportStore::closeInterrupted()
{
    const auto held = database_.lock();
    std::vector<std::pair<Id, std::time_t>> left;
    {
        Statement open(database_, "SELECT id, touched FROM report WHERE outcome = 0 ORDER BY id");
        while (open.step() == Statement::Step::Row)
            left.emplace_back(open.integer(0), open.integer(1));
    }
    Transaction change(database_);
    bool closed = change.begun();
    for (const auto &[id, touched] : left) {
        const auto [ended, key] = freeKey(touched);
        Statement close(database_, "UPDATE report SET outcome = ?, key = ?, touched = ? "
                                   "WHERE id = ?");
        closed = closed && close.bind(static_cast<std::int64_t>(Outcome::Interrupted))
                               .bind(key)
                               .bind(ended)
                               .bind(id)
                               .run();
    }
    if (closed && change.commit())
        interrupted_ = static_cast<unsigned>(left.size());
}

// Two scans that ended in one second get neighbouring keys.
std::pair<std::time_t, std::string> ReportStore::freeKey(std::time_t ended)
{
    for (;; ++ended) {
        std::string key = keyOf(ended);
        Statement taken(database_, "SELECT 1 FROM report WHERE key = ?");
        if (taken.bind(key).step() != Statement::Step::Row)
            return {ended, std::move(key)};
    }
}

ReportStore::Id ReportStore::begin(const NewReport &head)
{
    const auto held = database_.lock();
    Statement insert(database_, "INSERT INTO report (type, scanned, signatures, started, touched, "
                                "outcome) VALUES (?, ?, ?, ?, ?, 0) RETURNING id");
    insert.bind(head.type).bind(head.scanned).bind(head.signatures);
    insert.bind(head.started).bind(head.started);
    if (insert.step() != Statement::Step::Row) {
        tell("cannot begin a report");
        return 0;
    }
    const Id id = insert.integer(0);
    if (!insert.run()) {
        tell("cannot begin a report");
        return 0;
    }
    open_[id].flushed = clock_();
    return id;
}

void ReportStore::addThreat(Id report, const ReportedThreat &threat)
{
    const auto held = database_.lock();
    const auto open = open_.find(report);
    if (open == open_.end())
        return;
    if (open->second.newThreats.size() < kMostUnstored)
        open->second.newThreats.push_back(threat);
    store(report, open->second, "cannot take down the threat in " + threat.path);
}

void ReportStore::addPassedOver(Id report, const ReportedPass &pass)
{
    const auto held = database_.lock();
    const auto found = open_.find(report);
    if (found == open_.end())
        return;
    Open &open = found->second;
    ++open.passes[pass.kind];
    std::size_t &listed = open.listed[pass.kind];
    if (listed < kListedPasses && open.listedOfReason[pass.reason] < kListedOfReason) {
        ++listed;
        ++open.listedOfReason[pass.reason];
        open.newPasses.push_back(pass);
    }
    if (open.newPasses.size() < kBatch && clock_() == open.flushed)
        return;
    store(report, open, "cannot take down what was passed over");
}

// While the drive is full, neither the log nor the drive is to hear of every single file.
void ReportStore::store(Id report, Open &open, const std::string &failure)
{
    if (open.failing && clock_() == open.flushed)
        return;
    const bool failed = !flush(report, open);
    if (failed && !open.failing)
        tell(failure);
    open.failing = failed;
}

// What cannot be written now stays and is tried again with the next flush.
bool ReportStore::flush(Id report, Open &open)
{
    const std::time_t now = clock_();
    open.flushed = now;
    Transaction change(database_);
    if (!change.begun() || !write(report, open, now) || !change.commit())
        return false;
    open.threats += stored(open.newThreats.size());
    open.newThreats.clear();
    open.newPasses.clear();
    return true;
}

bool ReportStore::write(Id report, const Open &open, std::time_t now)
{
    std::int64_t number = open.threats;
    for (const ReportedThreat &threat : open.newThreats) {
        Statement insert(database_, "INSERT INTO threat VALUES (?, ?, ?, ?, ?, ?)");
        insert.bind(report).bind(++number).bind(threat.path).bind(threat.name);
        if (!insert.bind(threat.threatClass).bind(threat.outcome).run())
            return false;
    }
    for (const ReportedPass &pass : open.newPasses) {
        Statement insert(database_,
                         "INSERT INTO passed_over SELECT ?1, ?2, 1 + (SELECT coalesce(max(number), "
                         "0) FROM passed_over WHERE report = ?1 AND kind = ?2), ?3, ?4");
        insert.bind(report).bind(static_cast<std::int64_t>(pass.kind));
        if (!insert.bind(pass.path).bind(pass.reason).run())
            return false;
    }
    const auto count = [&open](PassedKind kind) {
        const auto found = open.passes.find(kind);
        return found == open.passes.end() ? std::int64_t{0} : found->second;
    };
    Statement touch(database_, "UPDATE report SET touched = ?, skips = ?, errors = ? WHERE id = ?");
    touch.bind(now).bind(count(PassedKind::Skipped)).bind(count(PassedKind::Error));
    return touch.bind(report).run();
}

void ReportStore::describeSignatures(Id report, const std::string &signatures)
{
    const auto held = database_.lock();
    Statement update(database_, "UPDATE report SET signatures = ? WHERE id = ?");
    if (!update.bind(signatures).bind(report).run())
        tell("cannot take down the signatures of a scan");
}

std::string ReportStore::finish(Id report, Outcome outcome, const ReportTotals &totals,
                                const std::string &failure)
{
    const auto held = database_.lock();
    const auto found = open_.find(report);
    if (found == open_.end())
        return std::string();
    const Open open = std::move(found->second);
    open_.erase(found);

    const std::time_t now = clock_();
    Transaction change(database_);
    const auto [ended, key] = freeKey(now);
    bool done = change.begun() && write(report, open, now);
    Statement update(database_,
                     "UPDATE report SET key = ?, outcome = ?, touched = ?, failure = ?, "
                     "clean_files = ?, clean_bytes = ?, threat_files = ?, threat_bytes = ?, "
                     "skipped_files = ?, skipped_bytes = ?, error_files = ?, error_bytes = ? "
                     "WHERE id = ?");
    update.bind(key).bind(static_cast<std::int64_t>(outcome)).bind(ended).bind(failure);
    for (const Tally *tally : {&totals.clean, &totals.threats, &totals.skipped, &totals.errors})
        update.bind(stored(tally->files)).bind(stored(tally->bytes));
    done = done && update.bind(report).run();

    Statement question(database_, "SELECT type FROM report WHERE id = ?");
    if (done && outcome == Outcome::Completed &&
        question.bind(report).step() == Statement::Step::Row && isFullScan(question.text(0))) {
        Statement fact(database_, "INSERT OR REPLACE INTO fact VALUES (?, ?)");
        done = fact.bind(std::string(kLastFullScan)).bind(now).run();
    }
    question.reset();
    if (done && change.commit())
        return key;
    tell("cannot store the report of a scan");
    return std::string();
}

ReportStore::Listing ReportStore::list(const std::string &from, const std::string &to)
{
    const std::optional<std::string> first = from.empty() ? std::string() : dayOf(from);
    const std::optional<std::string> last = to.empty() ? std::string("9999-99-99") : dayOf(to);
    if (!first || !last)
        return {kNoDate, {}};
    if (*first > *last)
        return {kStartAfterEnd, {}};
    const auto held = database_.lock();
    Statement select(database_, "SELECT key, type FROM report WHERE outcome <> 0 AND key >= ? AND "
                                "key <= ? ORDER BY touched DESC, id DESC");
    select.bind(*first).bind(*last + " ~");
    Listing listing;
    Statement::Step step = Statement::Step::Row;
    while ((step = select.step()) == Statement::Step::Row)
        listing.entries.push_back({select.text(0), select.text(1)});
    if (step == Statement::Step::Failed)
        return {kUnusable, {}};
    if (listing.entries.empty())
        listing.code = kNoneInRange;
    return listing;
}

ReportStore::Reading ReportStore::read(const std::string &key)
{
    const auto held = database_.lock();
    Statement select(database_,
                     "SELECT id, type, scanned, signatures, started, touched, outcome, failure, "
                     "clean_files, clean_bytes, threat_files, threat_bytes, skipped_files, "
                     "skipped_bytes, error_files, error_bytes, skips, errors FROM report "
                     "WHERE key = ? AND outcome <> 0");
    const Statement::Step found = select.bind(key).step();
    if (found != Statement::Step::Row)
        return {found == Statement::Step::Done ? kNoSuchReport : kUnusable, {}, {}, {}, {}};
    Report report;
    report.key = key;
    report.head = {select.text(1), select.text(2), select.text(3), select.integer(4)};
    report.ended = select.integer(5);
    report.outcome = static_cast<Outcome>(select.integer(6));
    report.failure = select.text(7);
    if (!select.isNull(8)) {
        const auto tally = [&select](int column) {
            return Tally{static_cast<std::uint64_t>(select.integer(column)),
                         static_cast<std::uint64_t>(select.integer(column + 1))};
        };
        report.totals = ReportTotals{tally(8), tally(10), tally(12), tally(14)};
    }
    report.skips = static_cast<std::uint64_t>(select.integer(16));
    report.errors = static_cast<std::uint64_t>(select.integer(17));
    if (!readParts(select.integer(0), report))
        return {kUnusable, {}, {}, {}, {}};
    return {0, key.substr(0, kDateLength), key.substr(kDateLength + 1), renderReport(report),
            report.head.type};
}

bool ReportStore::readParts(Id id, Report &report)
{
    Statement::Step step = Statement::Step::Row;
    Statement threats(database_, "SELECT path, name, class, outcome FROM threat WHERE report = ? "
                                 "ORDER BY number");
    threats.bind(id);
    std::size_t length = 0;
    while ((step = threats.step()) == Statement::Step::Row) {
        ++report.threatCount;
        if (length >= kListedThreatText)
            continue;
        report.threats.push_back(
            {threats.text(0), threats.text(1), threats.text(2), threats.text(3)});
        const ReportedThreat &listed = report.threats.back();
        length += listed.path.size() + listed.name.size() + listed.outcome.size();
    }
    if (step == Statement::Step::Failed)
        return false;
    Statement passes(database_, "SELECT kind, path, reason FROM passed_over WHERE report = ? "
                                "ORDER BY kind, number");
    passes.bind(id);
    while ((step = passes.step()) == Statement::Step::Row)
        report.passes.push_back(
            {static_cast<PassedKind>(passes.integer(0)), passes.text(1), passes.text(2)});
    return step == Statement::Step::Done;
}

int ReportStore::remove(const std::string &key)
{
    const auto held = database_.lock();
    Statement question(database_, "DELETE FROM report WHERE key = ? AND outcome <> 0 RETURNING id");
    const Statement::Step step = question.bind(key).step();
    if (step == Statement::Step::Done)
        return kNoSuchReport;
    return step == Statement::Step::Row && question.run() ? 0 : kUnusable;
}

std::string ReportStore::lastFullScan()
{
    const auto held = database_.lock();
    Statement select(database_, "SELECT value FROM fact WHERE name = ?");
    if (select.bind(std::string(kLastFullScan)).step() != Statement::Step::Row)
        return std::string();
    return minuteOf(select.integer(0));
}

} // namespace talo::store
