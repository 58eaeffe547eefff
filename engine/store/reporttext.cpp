#include "store/reporttext.h"

#include "store/moments.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

namespace talo::store
{

namespace
{

std::string number(std::uint64_t value)
{
    std::string digits = std::to_string(value);
    for (std::size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, ",");
    return digits;
}

std::string size(std::uint64_t bytes)
{
    if (bytes < 1000)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    constexpr std::array<const char *, 5> kUnits{"kB", "MB", "GB", "TB", "PB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    while (value >= 999.95 && unit + 1 < kUnits.size()) {
        value /= 1000;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", value);
    return std::string(text.data()) + " " + kUnits.at(unit);
}

std::string result(const Report &report)
{
    switch (report.outcome) {
    case Outcome::Completed:
        return "Completed";
    case Outcome::Stopped:
        return "Stopped by the user";
    case Outcome::Failed:
        return "Failed: " + (report.failure.empty() ? "no reason is known" : report.failure);
    case Outcome::Interrupted:
        return "Interrupted: TALO Antivirus or the computer went down during the scan";
    case Outcome::Running:
        break;
    }
    return "Running";
}

void line(std::string &text, const char *label, const std::string &value)
{
    text += std::string(label) + ": " + value + "\n";
}

std::string counted(const Tally &tally)
{
    return number(tally.files) + " (" + size(tally.bytes) + ")";
}

void writeTotals(std::string &text, const Report &report)
{
    if (!report.totals) {
        line(text, "Files", "not known, because the scan was interrupted");
        return;
    }
    const ReportTotals &totals = *report.totals;
    Tally all;
    for (const Tally *part : {&totals.clean, &totals.threats, &totals.skipped, &totals.errors}) {
        all.files += part->files;
        all.bytes += part->bytes;
    }
    line(text, "Files", counted(all));
    line(text, "    Clean", counted(totals.clean));
    line(text, "    Threats", counted(totals.threats));
    line(text, "    Not scanned", counted(totals.skipped));
    line(text, "    Errors", counted(totals.errors));
}

void writeRest(std::string &text, std::uint64_t listed, std::uint64_t count)
{
    if (listed < count)
        text += "Only " + number(listed) + " of them are listed.\n";
}

void writeThreats(std::string &text, const Report &report)
{
    text += "\nThreats (" + number(report.threatCount) + ")\n";
    if (report.threatCount == 0)
        text += "    No threat was found in what was scanned.\n";
    for (const ReportedThreat &threat : report.threats) {
        text += threat.path + "\n";
        text += "    Threat: " + threat.name + "\n";
        text += "    Class: " + threat.threatClass + "\n";
        text += "    Done: " + threat.outcome + "\n";
    }
    writeRest(text, report.threats.size(), report.threatCount);
}

// What shares a reason stands together, the rarest first: a thousand links say less than one
// archive that could not be opened.
std::vector<std::vector<const ReportedPass *>> byReason(const Report &report, PassedKind kind)
{
    std::vector<std::vector<const ReportedPass *>> groups;
    std::map<std::string, std::size_t> places;
    for (const ReportedPass &pass : report.passes) {
        if (pass.kind != kind)
            continue;
        const auto place = places.emplace(pass.reason, groups.size()).first->second;
        if (place == groups.size())
            groups.emplace_back();
        groups[place].push_back(&pass);
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto &a, const auto &b) { return a.size() < b.size(); });
    return groups;
}

void writePasses(std::string &text, const Report &report, PassedKind kind, const char *title,
                 std::uint64_t count)
{
    if (count == 0)
        return;
    text += std::string("\n") + title + " (" + number(count) + ")\n";
    std::uint64_t listed = 0;
    for (const auto &group : byReason(report, kind)) {
        text += group.front()->reason + ":\n";
        for (const ReportedPass *pass : group)
            text += "    " + pass->path + "\n";
        listed += group.size();
    }
    writeRest(text, listed, count);
}

} // namespace

std::string renderReport(const Report &report)
{
    // Without a "<" in the first line no viewer takes the text for markup.
    std::string text = "TALO Antivirus scan report\n";
    line(text, "Report", report.key);
    line(text, "Type", report.head.type);
    line(text, "Result", result(report));
    line(text, "Started", secondOf(report.head.started));
    line(text, "Ended", secondOf(report.ended));
    line(text, "Duration", durationOf(report.ended - report.head.started));
    line(text, "Scanned", report.head.scanned);
    line(text, "Signatures", report.head.signatures);
    writeTotals(text, report);
    writeThreats(text, report);
    writePasses(text, report, PassedKind::Skipped, "Not scanned", report.skips);
    writePasses(text, report, PassedKind::Error, "Errors", report.errors);
    return text;
}

} // namespace talo::store
