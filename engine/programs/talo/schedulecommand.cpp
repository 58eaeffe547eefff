// talo schedule: scans at set times.
#include "programs/talo/commands.h"

#include "interface/names.h"
#include "interface/types.h"
#include "programs/console.h"
#include "programs/printable.h"
#include "programs/scanwords.h"
#include "programs/talo/service.h"
#include "programs/usage.h"
#include "programs/words.h"

#include <QDBusArgument>
#include <QDateTime>

#include <algorithm>
#include <array>
#include <optional>

namespace talo::programs
{

namespace
{

// What is typed, and what it does.
constexpr std::array<UsageLine, 4> kUsage{{
    {"list", QT_TRANSLATE_NOOP("Programs", "scheduled scans in the order of entry")},
    {"add NAME --full | --quick --daily | --weekly DAY --at HH:MM",
     QT_TRANSLATE_NOOP("Programs", "scan at this local time; DAY is sunday to saturday, NAME has\n"
                                   "4 to 8 letters and digits")},
    {"remove NAME", QT_TRANSLATE_NOOP("Programs", "have it no longer run")},
    {"next", QT_TRANSLATE_NOOP("Programs", "which scan comes next, and when")},
}};

// Codes of the service's store of schedules.
struct Problem {
    int code;
    const char *text;
};
constexpr std::array<Problem, 6> kProblems{{
    {602,
     QT_TRANSLATE_NOOP(
         "Programs",
         "There is a schedule of this name already. Upper and lower case make no difference.")},
    {603,
     QT_TRANSLATE_NOOP("Programs",
                       "There is a schedule for the same kind of scan at the same time already.")},
    {604, QT_TRANSLATE_NOOP(
              "Programs",
              "There is no such schedule. \"talo schedule list\" shows those that there are.")},
    {605, QT_TRANSLATE_NOOP("Programs", "A schedule's name has letters and digits only.")},
    {606, QT_TRANSLATE_NOOP("Programs", "A schedule's name has 4 to 8 characters.")},
    {607,
     QT_TRANSLATE_NOOP("Programs",
                       "The service does not take these values. Restart talod after an update.")},
}};

constexpr std::array<const char *, 7> kDays{"sunday",   "monday", "tuesday", "wednesday",
                                            "thursday", "friday", "saturday"};
// Whole phrases: in many languages a day changes its ending in them.
constexpr std::array<const char *, 7> kWeeklyAt{
    QT_TRANSLATE_NOOP("Programs", "every Sunday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Monday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Tuesday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Wednesday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Thursday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Friday at %1"),
    QT_TRANSLATE_NOOP("Programs", "every Saturday at %1")};
constexpr int kDaily = 501;
constexpr int kWeekly = 502;
constexpr int kEveryDay = 8;

int answerOf(int code)
{
    if (code == 0)
        return 0;
    const auto *const known =
        std::find_if(kProblems.begin(), kProblems.end(),
                     [code](const Problem &problem) { return problem.code == code; });
    Console().problem(known != kProblems.end()
                          ? Programs::tr(known->text)
                          : Programs::tr("The service cannot store schedules (code %1). Its log "
                                         "says why.")
                                .arg(code));
    return ScanFailed;
}

std::optional<interface::ScheduleList> schedules()
{
    const auto answer = askService(interface::kSchedules, "All", {}, "a(siiiixs)");
    if (!answer)
        return std::nullopt;
    return qdbus_cast<interface::ScheduleList>(answer->at(0));
}

QString scanOf(const interface::ScheduleEntry &schedule)
{
    return schedule.type == int(interface::FullScan) ? Programs::tr("full scan")
                                                     : Programs::tr("quick scan");
}

QString timesOf(const interface::ScheduleEntry &schedule)
{
    const bool weekly = schedule.weekday >= 0 && schedule.weekday < int(kWeeklyAt.size());
    const QString days =
        weekly ? Programs::tr(kWeeklyAt.at(static_cast<std::size_t>(schedule.weekday)))
               : Programs::tr("daily at %1");
    return days.arg(QStringLiteral("%1:%2")
                        .arg(schedule.hour, 2, 10, QLatin1Char('0'))
                        .arg(schedule.minute, 2, 10, QLatin1Char('0')));
}

QString nextOf(const interface::ScheduleEntry &schedule)
{
    if (!schedule.waits.isEmpty())
        return Programs::tr("due, but %1").arg(printable(schedule.waits));
    return QDateTime::fromSecsSinceEpoch(schedule.next)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

int list()
{
    const auto all = schedules();
    if (!all)
        return ScanFailed;
    Console console;
    if (all->isEmpty())
        console.line(Programs::tr("No scans are scheduled."));
    for (const interface::ScheduleEntry &schedule : *all)
        console.line(printable(schedule.name) + QLatin1String("  ") + scanOf(schedule) +
                     QLatin1String("  ") + timesOf(schedule));
    return console.flush() ? 0 : ScanFailed;
}

int next()
{
    const auto all = schedules();
    if (!all)
        return ScanFailed;
    Console console;
    // What is due already comes before what is to come.
    const auto first = std::min_element(
        all->begin(), all->end(),
        [](const interface::ScheduleEntry &a, const interface::ScheduleEntry &b) {
            return std::pair(a.waits.isEmpty(), a.next) < std::pair(b.waits.isEmpty(), b.next);
        });
    if (first == all->end())
        console.line(Programs::tr("No scans are scheduled."));
    else
        console.line(printable(first->name) + QLatin1String("  ") + scanOf(*first) +
                     QLatin1String("  ") + nextOf(*first));
    return console.flush() ? 0 : ScanFailed;
}

std::optional<int> dayOf(const QByteArray &word)
{
    const auto *const day = std::find(kDays.begin(), kDays.end(), word.toLower());
    return day == kDays.end() ? std::nullopt : std::optional(int(day - kDays.begin()));
}

struct Wanted {
    int type = 0;
    int frequency = 0;
    int weekday = kEveryDay;
    QTime time;
};

// Takes one option from the front of the words, with what belongs to it; says what is wrong with
// it, or nothing.
QString takeOption(Words &words, Wanted &wanted)
{
    const QByteArray option = words.takeFirst();
    const auto value = [&words] { return words.isEmpty() ? QByteArray() : words.takeFirst(); };
    if (option == "--full" || option == "--quick") {
        if (wanted.type != 0)
            return Programs::tr("A schedule is of one kind of scan: --full or --quick.");
        wanted.type = int(option == "--full" ? interface::FullScan : interface::QuickScan);
    } else if (option == "--daily" || option == "--weekly") {
        if (wanted.frequency != 0)
            return Programs::tr("A schedule is either --daily or --weekly DAY.");
        wanted.frequency = option == "--daily" ? kDaily : kWeekly;
        const auto day = option == "--weekly" ? dayOf(value()) : std::optional(kEveryDay);
        if (!day)
            return Programs::tr("--weekly takes a day: sunday, monday, and so on to saturday.");
        wanted.weekday = *day;
    } else if (option == "--at") {
        wanted.time = QTime::fromString(QString::fromLatin1(value()), QStringLiteral("HH:mm"));
        if (!wanted.time.isValid())
            return Programs::tr("--at takes a time from 00:00 to 23:59.");
    } else {
        return Programs::tr(
            "\"talo schedule add\" knows --full, --quick, --daily, --weekly DAY and --at HH:MM.");
    }
    return {};
}

int add(Words words)
{
    const QByteArray name = words.takeFirst();
    Wanted wanted;
    while (!words.isEmpty())
        if (const QString fault = takeOption(words, wanted); !fault.isEmpty())
            return usageError(fault);
    if (wanted.type == 0)
        return usageError(Programs::tr("The kind of scan is missing: --full or --quick."));
    if (wanted.frequency == 0)
        return usageError(Programs::tr("How often to scan is missing: --daily or --weekly DAY."));
    if (!wanted.time.isValid())
        return usageError(Programs::tr("The time is missing: --at HH:MM."));
    const auto answer = askService(interface::kSchedules, "Add",
                                   {name, wanted.type, wanted.frequency, wanted.weekday,
                                    wanted.time.hour(), wanted.time.minute()},
                                   "i");
    return answer ? answerOf(answer->at(0).toInt()) : ScanFailed;
}

int remove(const QByteArray &name)
{
    const auto answer = askService(interface::kSchedules, "Remove", {name}, "i");
    return answer ? answerOf(answer->at(0).toInt()) : ScanFailed;
}

} // namespace

int scheduleCommand(const Words &words)
{
    const QByteArray verb = words.value(0);
    if (words.contains("--help") || verb == "help" || verb == "-h") {
        Console console;
        console.line((Programs::tr("Usage: %1").arg(QLatin1String("talo schedule COMMAND\n\n")) +
                      usageLines(kUsage))
                         .trimmed());
        return console.flush() ? 0 : ScanFailed;
    }
    if (verb == "list" && words.size() == 1)
        return list();
    if (verb == "next" && words.size() == 1)
        return next();
    if (verb == "remove" && words.size() == 2)
        return remove(words.at(1));
    if (verb == "add" && words.size() > 1)
        return add(words.mid(1));
    return usageError(
        Programs::tr("\"talo schedule\" takes list, add NAME ..., remove NAME or next; \"talo "
                     "schedule --help\" tells more."));
}

} // namespace talo::programs
