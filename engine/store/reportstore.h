// The store of scan reports.
#pragma once

#include "store/report.h"

#include <functional>
#include <map>

namespace talo::store
{

class Database;

// May be used from any thread. Codes are those of the reports' interface: 0; 201 the store cannot
// be read or written; 203 no such report; 204 none in the range; 205 start after end; 206 a bound
// that is no date.
class ReportStore
{
public:
    using Id = std::int64_t;
    using Clock = std::function<std::time_t()>;

    // Closes what an earlier run left open as interrupted.
    explicit ReportStore(
        Database &database, Clock clock = [] { return std::time(nullptr); });

    // Texts about what could not be stored go there; set it before the first report.
    void onFailure(std::function<void(const std::string &)> tell) { tell_ = std::move(tell); }

    // Number of reports that an earlier run left open.
    unsigned interrupted() const { return interrupted_; }

    // Begins a report; 0 when it cannot be stored.
    Id begin(const NewReport &head);

    // Threats are stored at once. Passed-over files are, at the latest, with the next threat, the
    // hundredth of them or the first after a second.
    void addThreat(Id report, const ReportedThreat &threat);
    void addPassedOver(Id report, const ReportedPass &pass);

    // Says more exactly which signatures were used than begin() could.
    void describeSignatures(Id report, const std::string &signatures);

    // Ends a report and answers its key; empty when it cannot be stored. The next start closes it
    // as interrupted then.
    std::string finish(Id report, Outcome outcome, const ReportTotals &totals,
                       const std::string &failure);

    struct Entry {
        std::string key;
        std::string type;
    };
    struct Listing {
        int code = 0;
        std::vector<Entry> entries; // newest first
    };
    // Bounds are days, "2026:7:3", both included, or empty for open.
    Listing list(const std::string &from, const std::string &to);

    struct Reading {
        int code = 0;
        std::string date;
        std::string time;
        std::string text;
        std::string type;
    };
    Reading read(const std::string &key);

    int remove(const std::string &key);

    // "21 Nov 2026 14:05" of the last full scan that finished, also after its report was removed;
    // empty for none.
    std::string lastFullScan();

private:
    struct Open {
        std::int64_t threats = 0;
        std::map<PassedKind, std::int64_t> passes;
        std::map<PassedKind, std::size_t> listed;
        std::map<std::string, std::size_t> listedOfReason;
        std::vector<ReportedThreat> newThreats;
        std::vector<ReportedPass> newPasses;
        std::time_t flushed = 0;
        bool failing = false; // since the last flush; told once
    };

    void closeInterrupted();
    void store(Id report, Open &open, const std::string &failure);
    bool flush(Id report, Open &open);
    bool write(Id report, const Open &open, std::time_t now);
    std::pair<std::time_t, std::string> freeKey(std::time_t ended);
    bool readParts(Id id, Report &report);
    void tell(const std::string &what);

    Database &database_;
    Clock clock_;
    std::function<void(const std::string &)> tell_;
    unsigned interrupted_ = 0;
    std::map<Id, Open> open_;
};

} // namespace talo::store
