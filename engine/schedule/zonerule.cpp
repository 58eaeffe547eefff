#include "schedule/zonerule.h"

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kDay = 86400;

bool isLeap(std::int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// Days from 1970-01-01 to the first of January of a year.
std::int64_t yearBegin(std::int64_t year)
{
    const auto before = [](std::int64_t last, std::int64_t every) {
        return last >= 0 ? last / every : -((-last + every - 1) / every);
    };
    const std::int64_t last = year - 1;
    return 365 * (year - 1970) + (before(last, 4) - 492) - (before(last, 100) - 19) +
           (before(last, 400) - 4);
}

std::int64_t monthBegin(std::int64_t year, int month)
{
    constexpr int kBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};
    return yearBegin(year) + kBefore[month - 1] + (month > 2 && isLeap(year) ? 1 : 0);
}

int weekdayOf(std::int64_t day)
{
    return static_cast<int>(((day + 4) % 7 + 7) % 7); // 1970 began on a Thursday
}

std::int64_t localTimeOf(const ZoneRule::Day &rule, std::int64_t year)
{
    using Form = ZoneRule::Day::Form;
    std::int64_t day = 0;
    switch (rule.form) {
    case Form::JulianWithoutLeapDay:
        day = yearBegin(year) + rule.day - 1 + (rule.day >= 60 && isLeap(year) ? 1 : 0);
        break;
    case Form::DayOfYear:
        day = yearBegin(year) + rule.day;
        break;
    case Form::MonthWeekday: {
        const std::int64_t first = monthBegin(year, rule.month);
        const std::int64_t next =
            rule.month == 12 ? yearBegin(year + 1) : monthBegin(year, rule.month + 1);
        day = first + (rule.day - weekdayOf(first) + 7) % 7 + std::int64_t{7} * (rule.week - 1);
        if (day >= next)
            day -= 7;
        break;
    }
    }
    return day * kDay + rule.time;
}

// Takes a text apart from its front; what is not there leaves it as it is.
class Reader
{
public:
    explicit Reader(std::string_view text) : text_(text) {}

    bool atEnd() const { return text_.empty(); }
    bool take(char wanted)
    {
        const bool there = !text_.empty() && text_.front() == wanted;
        if (there)
            text_.remove_prefix(1);
        return there;
    }

    bool name()
    {
        const bool quoted = take('<');
        std::size_t length = 0;
        while (length < text_.size() && (quoted ? text_[length] != '>' : isLetter(text_[length])))
            ++length;
        text_.remove_prefix(length);
        return length >= 3 && (!quoted || take('>'));
    }

    std::optional<int> number(int most)
    {
        int value = 0;
        std::size_t length = 0;
        for (; length < text_.size() && text_[length] >= '0' && text_[length] <= '9'; ++length) {
            value = value * 10 + (text_[length] - '0');
            if (value > most)
                return std::nullopt;
        }
        text_.remove_prefix(length);
        return length == 0 ? std::nullopt : std::optional(value);
    }

    // "-1:30:00"
    std::optional<std::int64_t> time(int mostHours)
    {
        const int sign = take('-') ? -1 : 1;
        if (sign == 1)
            take('+');
        const auto hours = number(mostHours);
        if (!hours)
            return std::nullopt;
        std::int64_t seconds = std::int64_t{*hours} * 3600;
        for (const int unit : {60, 1}) {
            if (!take(':'))
                break;
            const auto part = number(59);
            if (!part)
                return std::nullopt;
            seconds += std::int64_t{*part} * unit;
        }
        return sign * seconds;
    }

    std::optional<ZoneRule::Day> day()
    {
        using Form = ZoneRule::Day::Form;
        ZoneRule::Day rule;
        std::optional<int> day;
        if (take('M')) {
            const auto month = number(12);
            const bool first = take('.');
            const auto week = number(5);
            if (!month || *month < 1 || !first || !week || *week < 1 || !take('.'))
                return std::nullopt;
            rule.month = *month;
            rule.week = *week;
            day = number(6);
        } else if (take('J')) {
            rule.form = Form::JulianWithoutLeapDay;
            day = number(365);
            if (day && *day < 1)
                return std::nullopt;
        } else {
            rule.form = Form::DayOfYear;
            day = number(365);
        }
        if (!day)
            return std::nullopt;
        rule.day = *day;
        if (take('/')) {
            const auto at = time(167);
            if (!at)
                return std::nullopt;
            rule.time = *at;
        }
        return rule;
    }

private:
    static bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

    std::string_view text_;
};

} // namespace

std::int64_t yearOf(std::int64_t moment)
{
    const std::int64_t day = moment >= 0 ? moment / kDay : -((-moment + kDay - 1) / kDay);
    std::int64_t year = 1970 + day / 366;
    while (yearBegin(year + 1) <= day)
        ++year;
    while (yearBegin(year) > day)
        --year;
    return year;
}

std::optional<ZoneRule> ZoneRule::parse(std::string_view text)
{
    Reader reader(text);
    ZoneRule rule;
    if (!reader.name())
        return std::nullopt;
    const auto standard = reader.time(24);
    if (!standard)
        return std::nullopt;
    rule.standard_ = -*standard; // it says how far behind UTC
    if (reader.atEnd())
        return rule;
    rule.summer_ = true;
    rule.summerOffset_ = rule.standard_ + 3600;
    if (!reader.name())
        return std::nullopt;
    if (!reader.atEnd() && !reader.take(',')) {
        const auto summer = reader.time(24);
        if (!summer || (!reader.atEnd() && !reader.take(',')))
            return std::nullopt;
        rule.summerOffset_ = -*summer;
    }
    if (reader.atEnd())
        reader = Reader("M3.2.0,M11.1.0"); // what libc takes where nothing is said
    const auto begin = reader.day();
    if (!begin || !reader.take(','))
        return std::nullopt;
    const auto end = reader.day();
    if (!end || !reader.atEnd())
        return std::nullopt;
    rule.begin_ = *begin;
    rule.end_ = *end;
    return rule;
}

std::array<ZoneChange, 2> ZoneRule::changesIn(std::int64_t year) const
{
    return {{{localTimeOf(begin_, year) - standard_, summerOffset_},
             {localTimeOf(end_, year) - summerOffset_, standard_}}};
}

} // namespace talo::schedule
