#include "engine/libschedulescan.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusArgument>
#include <QStringList>

#include <array>

namespace
{

using namespace talo;

constexpr int kNoSuchSchedule = 604;
constexpr int kBadLength = 606;
constexpr int kRefused = 608;

// As saving has them.
constexpr int kFullScan = 1;
// As the editor reads them.
constexpr int kReadQuick = 1;
constexpr int kReadFull = 2;

constexpr std::array<const char *, 7> kWeekdays{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                "Thursday", "Friday", "Saturday"};

// Bytes, not text: the service judges what is not UTF-8, where a text would hide it.
int ask(const char *method, const QVariantList &arguments)
{
    const QDBusMessage answer =
        client::Bus::instance().call(interface::kSchedules, method, arguments);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("i"))
        return kRefused;
    return answer.arguments().at(0).toInt();
}

QString frequencyText(const interface::ScheduleEntry &schedule)
{
    const bool weekly =
        schedule.weekday >= 0 && schedule.weekday < static_cast<int>(kWeekdays.size());
    const QString days =
        weekly ? QStringLiteral("Every ") +
                     QLatin1String(kWeekdays.at(static_cast<std::size_t>(schedule.weekday)))
               : QStringLiteral("Daily");
    return QStringLiteral("%1 at %2:%3")
        .arg(days)
        .arg(schedule.hour, 2, 10, QLatin1Char('0'))
        .arg(schedule.minute, 2, 10, QLatin1Char('0'));
}

int list(std::string &list, int *count)
{
    const QDBusMessage answer = client::Bus::instance().call(interface::kSchedules, "All");
    if (answer.type() != QDBusMessage::ReplyMessage ||
        answer.signature() != QLatin1String("a(siiiixs)"))
        return kRefused;
    QStringList records;
    const auto schedules = qdbus_cast<interface::ScheduleList>(answer.arguments().at(0));
    for (const interface::ScheduleEntry &schedule : schedules)
        records += schedule.name + QLatin1Char('#') + frequencyText(schedule) +
                   QLatin1String(schedule.type == kFullScan ? "#Full Scan" : "#Quick Scan");
    list = records.join(QLatin1Char(',')).toStdString();
    if (count != nullptr)
        *count = records.size();
    return 0;
}

int details(const char *name, const std::array<int *, 4> &outputs)
{
    const QDBusMessage answer =
        client::Bus::instance().call(interface::kSchedules, "Details", {QByteArray(name)});
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("iiiii"))
        return kRefused;
    const QVariantList values = answer.arguments();
    const int code = values.at(0).toInt();
    if (code != 0)
        return code;
    const int type = values.at(1).toInt() == kFullScan ? kReadFull : kReadQuick;
    const std::array<int, 4> read{type, values.at(2).toInt(), values.at(3).toInt(),
                                  values.at(4).toInt()};
    for (std::size_t at = 0; at < read.size(); ++at)
        if (outputs.at(at) != nullptr)
            *outputs.at(at) = read.at(at);
    return 0;
}

} // namespace

int libScheduleScan::GetScheduleList(std::string &records, int *count)
{
    records.clear();
    if (count != nullptr)
        *count = 0;
    return client::guarded(kRefused, [&] { return list(records, count); });
}

int libScheduleScan::RemoveScheduleScan(char const *name)
{
    if (name == nullptr)
        return kNoSuchSchedule;
    return client::guarded(kRefused, [&] { return ask("Remove", {QByteArray(name)}); });
}

int libScheduleScan::GetScheduleScanDetails(char const *name, int *type, int *weekday, int *hour,
                                            int *minute)
{
    if (name == nullptr)
        return kNoSuchSchedule;
    return client::guarded(kRefused, [&] { return details(name, {type, weekday, hour, minute}); });
}

int libScheduleScan::AddScheduleScan(char const *name, int type, int frequency, int weekday,
                                     int hour, int minute)
{
    if (name == nullptr)
        return kBadLength;
    return client::guarded(kRefused, [&] {
        return ask("Add", {QByteArray(name), type, frequency, weekday, hour, minute});
    });
}

int libScheduleScan::EditScheduleScan(char const *oldName, char const *newName, int type,
                                      int frequency, int weekday, int hour, int minute)
{
    if (newName == nullptr)
        return kBadLength;
    return client::guarded(kRefused, [&] {
        return ask("Edit", {QByteArray(oldName), QByteArray(newName), type, frequency, weekday,
                            hour, minute});
    });
}
