// The next runs of schedules against another's answers: systemd's calendar. Two choices of ours are
// not its: it leaves out a time that the clocks skip, and may take the second of one that they
// show twice.
#include "schedule/nextrun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <memory>
#include <random>
#include <string>

namespace talo::schedule
{

namespace
{

constexpr std::int64_t kDay = 86400;
constexpr std::size_t kRuns = 4;
constexpr int kInstants = 14;
constexpr int kSchedules = 32;

const char *const kZones[] = {"Europe/Berlin",    "Europe/Dublin",       "America/New_York",
                              "America/St_Johns", "Australia/Lord_Howe", "Pacific/Chatham",
                              "Asia/Kathmandu",   "America/Godthab",     "Africa/Casablanca",
                              "America/Santiago", "Antarctica/Troll"};

std::string text(std::int64_t moment, const char *form)
{
    const std::time_t when = moment;
    std::tm time{};
    char written[64];
    gmtime_r(&when, &time);
    return {written, std::strftime(written, sizeof written, form, &time)};
}

std::string expression(const Times &times)
{
    static const char *const kDays[] = {"Sun ", "Mon ", "Tue ", "Wed ", "Thu ",
                                        "Fri ", "Sat ", "",     ""};
    char time[32];
    std::snprintf(time, sizeof time, "*-*-* %02d:%02d:00", times.hour, times.minute);
    return std::string(kDays[times.weekday]) + time;
}

// For each expression its next runs; empty where it cannot be asked.
std::vector<std::vector<std::int64_t>> ask(const std::string &zone, std::int64_t after,
                                           const std::vector<Times> &schedules)
{
    std::string command = "TZ=" + zone + " LC_ALL=C systemd-analyze calendar --base-time='" +
                          text(after, "%Y-%m-%d %H:%M:%S UTC") +
                          "' --iterations=" + std::to_string(kRuns);
    for (const Times &times : schedules)
        command += " '" + expression(times) + "'";
    command += " 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE *)> answer(popen(command.c_str(), "r"), pclose);
    std::vector<std::vector<std::int64_t>> runs;
    std::string line(512, '\0');
    while (answer && std::fgets(line.data(), static_cast<int>(line.size()), answer.get())) {
        const std::string words = line.c_str();
        if (words.find("Normalized form:") != std::string::npos ||
            words.find("Original form:") != std::string::npos) {
            if (runs.empty() || !runs.back().empty())
                runs.emplace_back();
            continue;
        }
        const std::size_t at = words.find("(in UTC): ");
        std::tm time{};
        if (at != std::string::npos &&
            strptime(words.c_str() + at + 14, "%Y-%m-%d %H:%M:%S UTC", &time) != nullptr)
            runs.back().push_back(timegm(&time));
    }
    return runs;
}

class Oracle : public testing::Test
{
protected:
    void SetUp() override
    {
        if (std::system("systemd-analyze --version >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "systemd-analyze is not there to be asked";
    }
};

void compare(const Zone &zone, const Times &times, std::int64_t after,
             const std::vector<std::int64_t> &theirs)
{
    const std::int64_t wanted = times.hour * 3600 + times.minute * 60;
    std::vector<std::int64_t> expected;
    for (const std::int64_t run : theirs)
        if (zone.momentOf(run + zone.offsetAt(run)) == run) // not for the second time
            expected.push_back(run);
    std::vector<std::int64_t> ours;
    for (std::int64_t run = after; ours.size() < expected.size();) {
        run = timeAfter(times, run, zone);
        const std::int64_t shown = (run + zone.offsetAt(run)) % kDay;
        if (shown == wanted) {
            // It also leaves out what comes soon after a change that is not at a full hour.
            const bool change = zone.offsetAt(run) > zone.offsetAt(run - 3600);
            if (!change || std::find(theirs.begin(), theirs.end(), run) != theirs.end())
                ours.push_back(run);
            continue;
        }
        // One that was skipped: a second earlier the clocks had not come to it.
        const std::int64_t meant = run + zone.offsetAt(run) - shown + wanted;
        ASSERT_LT(run - 1 + zone.offsetAt(run - 1), meant);
        ASSERT_GT(zone.offsetAt(run), zone.offsetAt(run - 1));
    }
    ASSERT_EQ(ours, expected);
}

} // namespace

TEST_F(Oracle, HasTheSameNextRuns)
{
    std::mt19937_64 random(20261121);
    int compared = 0;
    for (const char *const name : kZones) {
        const auto zone = Zone::named(name);
        ASSERT_TRUE(zone) << name;
        for (int instant = 0; instant < kInstants; ++instant) {
            // Any second of the years 2024 to 2033, every other one near a change of the clocks.
            std::int64_t after = 1704067200 + static_cast<std::int64_t>(random() % (3650 * kDay));
            for (int step = 0; instant % 2 == 0 && step < 400; ++step, after += kDay)
                if (zone->offsetAt(after) != zone->offsetAt(after + kDay))
                    break;
            std::vector<Times> schedules;
            for (int number = 0; number < kSchedules; ++number)
                // The hours of the night, in which clocks are changed, more often than the others.
                schedules.push_back({static_cast<int>(random() % 2 == 0 ? 8 : random() % 7),
                                     static_cast<int>(random() % (number % 2 == 0 ? 4 : 24)),
                                     static_cast<int>(random() % 60)});
            const auto theirs = ask(name, after, schedules);
            ASSERT_EQ(theirs.size(), schedules.size()) << name << " at " << after;
            for (std::size_t at = 0; at < schedules.size(); ++at) {
                ASSERT_EQ(theirs[at].size(), kRuns);
                compare(*zone, schedules[at], after, theirs[at]);
                ASSERT_FALSE(HasFatalFailure())
                    << name << ", " << expression(schedules[at]) << " after " << after;
                ++compared;
            }
        }
    }
    EXPECT_GT(compared, 4000);
}

} // namespace talo::schedule
