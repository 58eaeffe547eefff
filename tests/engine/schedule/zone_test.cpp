#include "schedule/zone.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <random>

namespace talo::schedule
{

namespace
{

Zone zone(const std::string &name)
{
    const auto found = Zone::named(name);
    EXPECT_TRUE(found) << name;
    return found.value_or(Zone());
}

std::int64_t utc(int year, int month, int day, int hour = 0, int minute = 0)
{
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    return timegm(&time);
}

std::string fileOf(const std::string &name)
{
    std::ifstream file("/usr/share/zoneinfo/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Sets the zone of libc for the scope.
class LibcZone
{
public:
    explicit LibcZone(const char *name)
    {
        setenv("TZ", name, 1);
        tzset();
    }
    ~LibcZone()
    {
        unsetenv("TZ");
        tzset();
    }
    LibcZone(const LibcZone &) = delete;
    LibcZone &operator=(const LibcZone &) = delete;
};

const char *const kNames[] = {"Europe/Berlin",
                              "Europe/Dublin",
                              "America/New_York",
                              "America/Sao_Paulo",
                              "Australia/Sydney",
                              "Australia/Lord_Howe",
                              "Asia/Kolkata",
                              "Asia/Kathmandu",
                              "Pacific/Apia",
                              "Pacific/Chatham",
                              "Africa/Casablanca",
                              "America/Godthab",
                              "America/St_Johns",
                              "Antarctica/Troll",
                              "Asia/Gaza",
                              "Africa/Monrovia",
                              "Pacific/Kiritimati",
                              "Etc/GMT+12",
                              "UTC",
                              "Asia/Tehran"};

} // namespace

TEST(Zone, AgreesWithLibc)
{
    std::mt19937_64 random(20261121);
    for (const char *name : kNames) {
        const Zone ours = zone(name);
        const LibcZone theirs(name);
        for (int round = 0; round < 3000; ++round) {
            // From 1900 to 2200.
            const std::int64_t moment =
                static_cast<std::int64_t>(random() % 9466848000) - 2208988800;
            const std::time_t when = moment;
            std::tm local{};
            ASSERT_NE(localtime_r(&when, &local), nullptr);
            ASSERT_EQ(ours.offsetAt(moment), local.tm_gmtoff) << name << " at " << moment;
        }
    }
}

TEST(Zone, KnowsRulesAlone)
{
    const char *const rules[] = {"CET-1CEST,M3.5.0,M10.5.0/3",
                                 "EST5EDT",
                                 "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1",
                                 "AAA-2BBB,J60/0,J300/4:30",
                                 "AAA8BBB7:30,59,299",
                                 "IST-1GMT0,M10.5.0,M3.5.0/1",
                                 "NZST-12NZDT,M9.5.0,M4.1.0/3",
                                 "XYZ-5:45",
                                 "UTC0"};
    std::mt19937_64 random(7);
    for (const char *rule : rules) {
        const Zone ours = zone(rule);
        const LibcZone theirs(rule);
        for (int round = 0; round < 2000; ++round) {
            const std::time_t when = static_cast<std::time_t>(random() % 7258118400);
            std::tm local{};
            ASSERT_NE(localtime_r(&when, &local), nullptr);
            ASSERT_EQ(ours.offsetAt(when), local.tm_gmtoff) << rule << " at " << when;
        }
    }
}

TEST(Zone, MeetsEveryLocalTime)
{
    for (const char *name : kNames) {
        const Zone ours = zone(name);
        // Every 20 minutes through a year with its changes: the first moment that shows it or more.
        const std::int64_t begin = utc(2026, 1, 1);
        for (std::int64_t local = begin; local < begin + 366 * 86400; local += 1200) {
            const std::int64_t moment = ours.momentOf(local);
            ASSERT_GE(moment + ours.offsetAt(moment), local) << name;
            ASSERT_LT(moment - 1 + ours.offsetAt(moment - 1), local) << name;
        }
    }
}

TEST(Zone, ChangesItsClocks)
{
    const Zone berlin = zone("Europe/Berlin");
    // 02:30 is skipped in spring, and comes twice in autumn.
    EXPECT_EQ(berlin.momentOf(utc(2026, 3, 29, 2, 30)), utc(2026, 3, 29, 1, 0));
    EXPECT_EQ(berlin.momentOf(utc(2026, 3, 29, 3, 0)), utc(2026, 3, 29, 1, 0));
    EXPECT_EQ(berlin.momentOf(utc(2026, 10, 25, 2, 30)), utc(2026, 10, 25, 0, 30));
    EXPECT_EQ(berlin.momentOf(utc(2026, 10, 25, 3, 0)), utc(2026, 10, 25, 2, 0));
    // A whole day was left out.
    EXPECT_EQ(zone("Pacific/Apia").momentOf(utc(2011, 12, 30, 14, 5)), utc(2011, 12, 30, 10, 0));
    // Far beyond what the file lists.
    EXPECT_EQ(berlin.momentOf(utc(2150, 7, 1, 12, 0)), utc(2150, 7, 1, 10, 0));
    // Half an hour only.
    EXPECT_EQ(zone("Australia/Lord_Howe").momentOf(utc(2026, 10, 4, 2, 15)),
              utc(2026, 10, 3, 15, 30));
}

TEST(Zone, IsThatOfTheProcess)
{
    const std::int64_t summer = utc(2026, 7, 1);
    for (const auto &[name, offset] :
         {std::pair("Europe/Berlin", 7200), std::pair(":UTC", 0), std::pair("", 0),
          std::pair("XYZ-5:45", 20700), std::pair("/usr/share/zoneinfo/Asia/Tokyo", 32400)}) {
        const LibcZone set(name);
        const auto local = Zone::local();
        ASSERT_TRUE(local) << name;
        EXPECT_EQ(local->offsetAt(summer), offset) << name;
    }
    for (const char *name :
         {"Nowhere/City", "../../../etc/passwd", "/etc/passwd", "CET-1CEST,M3.5.0"}) {
        const LibcZone set(name);
        EXPECT_FALSE(Zone::local()) << name;
    }
    EXPECT_TRUE(Zone::local());
}

TEST(Zone, TakesNoFileThatIsNotWhole)
{
    const std::string file = fileOf("Europe/Berlin");
    ASSERT_TRUE(Zone::parse(file));
    for (std::size_t size = 0; size < file.size(); ++size)
        EXPECT_FALSE(Zone::parse(file.substr(0, size))) << size;
    EXPECT_FALSE(Zone::parse(file + "x"));
}

TEST(Zone, SurvivesDamage)
{
    const std::string file = fileOf("Europe/Berlin");
    std::mt19937 random(20261121);
    int taken = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = file;
        for (unsigned change = 0; change <= random() % 3; ++change)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        const auto zone = Zone::parse(damaged);
        if (!zone)
            continue;
        ++taken;
        const std::int64_t moment = zone->momentOf(utc(2026, 11, 21, 14, 5));
        ASSERT_LE(std::abs(moment - utc(2026, 11, 21, 14, 5)), 2 * 86400);
    }
    EXPECT_GT(taken, 1000);
}

} // namespace talo::schedule
