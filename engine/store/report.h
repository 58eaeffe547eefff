// What a report is made of. All texts are printable UTF-8 without line breaks.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace talo::store
{

enum class Outcome { Running = 0, Completed = 1, Stopped = 2, Failed = 3, Interrupted = 4 };

struct NewReport {
    std::string type;       // "Full Scan" and so on
    std::string scanned;    // what was to be scanned
    std::string signatures; // the set in use, in words
    std::time_t started = 0;
};

struct ReportedThreat {
    std::string path;
    std::string name;
    std::string threatClass;
    std::string outcome;
};

enum class PassedKind { Skipped = 2, Error = 3 };

struct ReportedPass {
    PassedKind kind = PassedKind::Skipped;
    std::string path;
    std::string reason;
};

struct Tally {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
};

struct ReportTotals {
    Tally clean;
    Tally threats;
    Tally skipped;
    Tally errors;
};

// Of one kind of passed-over file, that many are listed; the others are counted. Of one reason
// fewer, so that the links of a whole system do not crowd out the one archive that matters.
inline constexpr std::size_t kListedPasses = 1000;
inline constexpr std::size_t kListedOfReason = 200;

// Threats are listed until their texts come to so many bytes: more than anybody reads, and a report
// still passes over the bus as one message.
inline constexpr std::size_t kListedThreatText = 8u << 20u;

struct Report {
    std::string key;
    NewReport head;
    Outcome outcome = Outcome::Running;
    std::time_t ended = 0;
    std::string failure;
    std::optional<ReportTotals> totals; // none where the scan was interrupted
    std::uint64_t threatCount = 0;
    std::vector<ReportedThreat> threats; // the listed ones
    std::uint64_t skips = 0;
    std::uint64_t errors = 0;
    std::vector<ReportedPass> passes; // the listed ones
};

} // namespace talo::store
