// The rule by which a time zone goes on for ever, as POSIX writes it: "CET-1CEST,M3.5.0,M10.5.0/3".
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace talo::schedule
{

struct ZoneChange {
    std::int64_t moment = 0;
    std::int64_t offset = 0; // from then on
};

inline bool operator<(const ZoneChange &a, const ZoneChange &b)
{
    return a.moment < b.moment;
}

class ZoneRule
{
public:
    static std::optional<ZoneRule> parse(std::string_view text);

    bool hasSummer() const { return summer_; }
    std::int64_t standardOffset() const { return standard_; }
    // Into summer time and out of it, where it has one; the order is that of the hemisphere.
    std::array<ZoneChange, 2> changesIn(std::int64_t year) const;

    struct Day {
        enum class Form { MonthWeekday, JulianWithoutLeapDay, DayOfYear };
        Form form = Form::MonthWeekday;
        int month = 1;
        int week = 1; // 5: the last one
        int day = 0;  // of the week, from Sunday on, or of the year
        std::int64_t time = 7200;
    };

private:
    std::int64_t standard_ = 0;
    std::int64_t summerOffset_ = 0;
    bool summer_ = false;
    Day begin_;
    Day end_;
};

std::int64_t yearOf(std::int64_t moment); // by the Gregorian calendar, in UTC

} // namespace talo::schedule
