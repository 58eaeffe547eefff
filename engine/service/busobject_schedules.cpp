// The bus object's methods for schedules.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/scheduleservice.h"

namespace talo::service
{

namespace
{

void answer(const Call &call, store::ScheduleCode code)
{
    call.answer({static_cast<int>(code)});
}

} // namespace

int BusObject::Add(const QByteArray &name, int type, int frequency, int weekday, int hour,
                   int minute)
{
    const store::ScheduleValues values{name.toStdString(), type, frequency, weekday, hour, minute};
    whenPermitted(Action::ChangeSchedules,
                  [this, values](const Call &call) { answer(call, rooms_.schedules.add(values)); });
    return 0;
}

int BusObject::Edit(const QByteArray &oldName, const QByteArray &name, int type, int frequency,
                    int weekday, int hour, int minute)
{
    const store::ScheduleValues values{name.toStdString(), type, frequency, weekday, hour, minute};
    whenPermitted(Action::ChangeSchedules, [this, oldName, values](const Call &call) {
        answer(call, rooms_.schedules.edit(oldName.toStdString(), values));
    });
    return 0;
}

int BusObject::Remove(const QByteArray &name)
{
    whenPermitted(Action::ChangeSchedules, [this, name](const Call &call) {
        answer(call, rooms_.schedules.remove(name.toStdString()));
    });
    return 0;
}

int BusObject::Details(const QByteArray &name, int &type, int &weekday, int &hour, int &minute)
{
    if (!permitted(Action::ReadSchedules))
        return 0;
    store::ScheduleValues values;
    const store::ScheduleCode code = rooms_.schedules.find(name.toStdString(), values);
    type = values.type;
    weekday = values.weekday;
    hour = values.hour;
    minute = values.minute;
    return static_cast<int>(code);
}

interface::ScheduleList BusObject::All()
{
    interface::ScheduleList schedules;
    if (permitted(Action::ReadSchedules))
        fail(rooms_.schedules.list(schedules));
    return schedules;
}

} // namespace talo::service
