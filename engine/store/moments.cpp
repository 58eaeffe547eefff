#include "store/moments.h"

#include <array>
#include <cstdio>

namespace talo::store
{

namespace
{

// Not strftime's: its names follow the locale that the process happens to run in.
constexpr std::array<const char *, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::tm localTime(std::time_t when)
{
    std::tm local{};
    localtime_r(&when, &local);
    return local;
}

template <typename... Values> std::string format(const char *form, Values... values)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, values...);
    return text.data();
}

int daysIn(int year, int month)
{
    constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return kDays.at(static_cast<std::size_t>(month) - 1) + (month == 2 && leap ? 1 : 0);
}

// Takes a number without leading zeros off the front; 0 for none.
int takeNumber(const std::string &text, std::size_t &at, std::size_t most)
{
    const std::size_t first = at;
    int number = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9' && at - first < most)
        number = number * 10 + (text[at++] - '0');
    return at > first && text[first] != '0' ? number : 0;
}

} // namespace

std::string keyOf(std::time_t when)
{
    const std::tm local = localTime(when);
    return format("%04d-%02d-%02d %02d:%02d:%02d", local.tm_year + 1900, local.tm_mon + 1,
                  local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

std::string dateOf(std::time_t when)
{
    const std::tm local = localTime(when);
    return format("%d %s %d", local.tm_mday, kMonths.at(static_cast<std::size_t>(local.tm_mon)),
                  local.tm_year + 1900);
}

std::string minuteOf(std::time_t when)
{
    const std::tm local = localTime(when);
    return dateOf(when) + format(" %02d:%02d", local.tm_hour, local.tm_min);
}

std::string secondOf(std::time_t when)
{
    return minuteOf(when) + format(":%02d", localTime(when).tm_sec);
}

std::string durationOf(std::time_t seconds)
{
    const long long all = seconds < 0 ? 0 : static_cast<long long>(seconds);
    if (all >= 3600)
        return format("%lld h %lld min %lld s", all / 3600, all / 60 % 60, all % 60);
    if (all >= 60)
        return format("%lld min %lld s", all / 60, all % 60);
    return format("%lld s", all);
}

std::optional<std::string> dayOf(const std::string &bound)
{
    std::size_t at = 0;
    const int year = takeNumber(bound, at, 4);
    if (year == 0 || at >= bound.size() || bound[at++] != ':')
        return std::nullopt;
    const int month = takeNumber(bound, at, 2);
    if (month == 0 || month > 12 || at >= bound.size() || bound[at++] != ':')
        return std::nullopt;
    const int day = takeNumber(bound, at, 2);
    if (day == 0 || day > daysIn(year, month) || at != bound.size())
        return std::nullopt;
    return format("%04d-%02d-%02d", year, month, day);
}

} // namespace talo::store
