#include "interface/types.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace talo::interface
{

void registerTypes()
{
    qDBusRegisterMetaType<ThreatFound>();
    qDBusRegisterMetaType<QList<ThreatFound>>();
    qDBusRegisterMetaType<ScanProgress>();
    qDBusRegisterMetaType<RunningJob>();
    qDBusRegisterMetaType<RunningJobs>();
    qDBusRegisterMetaType<ReportEntry>();
    qDBusRegisterMetaType<ReportList>();
    qDBusRegisterMetaType<QuarantineEntry>();
    qDBusRegisterMetaType<QuarantineList>();
    qDBusRegisterMetaType<UpdateProgress>();
    qDBusRegisterMetaType<SettingMap>();
    qDBusRegisterMetaType<ScheduleEntry>();
    qDBusRegisterMetaType<ScheduleList>();
    // The service's stubs look for the lists under the names that the descriptions give them.
    qRegisterMetaType<RunningJobs>("talo::interface::RunningJobs");
    qRegisterMetaType<ReportList>("talo::interface::ReportList");
    qRegisterMetaType<QuarantineList>("talo::interface::QuarantineList");
    qRegisterMetaType<SettingMap>("talo::interface::SettingMap");
    qRegisterMetaType<ScheduleList>("talo::interface::ScheduleList");
}

QDBusArgument &operator<<(QDBusArgument &argument, const ThreatFound &value)
{
    argument.beginStructure();
    argument << value.path << value.name << value.threatClass << value.outcome;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ThreatFound &value)
{
    argument.beginStructure();
    argument >> value.path >> value.name >> value.threatClass >> value.outcome;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const ScanProgress &value)
{
    argument.beginStructure();
    argument << value.state << value.current << value.filesDone << value.filesTotal
             << value.bytesDone << value.bytesTotal << value.elapsedMs << value.remainingMs
             << value.clean << value.threats << value.skipped << value.errors << value.report
             << value.failure << value.found;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ScanProgress &value)
{
    argument.beginStructure();
    argument >> value.state >> value.current >> value.filesDone >> value.filesTotal >>
        value.bytesDone >> value.bytesTotal >> value.elapsedMs >> value.remainingMs >>
        value.clean >> value.threats >> value.skipped >> value.errors >> value.report >>
        value.failure >> value.found;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const RunningJob &value)
{
    argument.beginStructure();
    argument << value.job << value.kind;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, RunningJob &value)
{
    argument.beginStructure();
    argument >> value.job >> value.kind;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const ReportEntry &value)
{
    argument.beginStructure();
    argument << value.key << value.type;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ReportEntry &value)
{
    argument.beginStructure();
    argument >> value.key >> value.type;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const QuarantineEntry &value)
{
    argument.beginStructure();
    argument << value.id << value.time << value.path << value.threat << value.size;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, QuarantineEntry &value)
{
    argument.beginStructure();
    argument >> value.id >> value.time >> value.path >> value.threat >> value.size;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const UpdateProgress &value)
{
    argument.beginStructure();
    argument << value.status << value.total << value.remaining << value.percentage << value.speed
             << value.detail;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const ScheduleEntry &value)
{
    argument.beginStructure();
    argument << value.name << value.type << value.weekday << value.hour << value.minute
             << value.next << value.waits;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, UpdateProgress &value)
{
    argument.beginStructure();
    argument >> value.status >> value.total >> value.remaining >> value.percentage >> value.speed >>
        value.detail;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, ScheduleEntry &value)
{
    argument.beginStructure();
    argument >> value.name >> value.type >> value.weekday >> value.hour >> value.minute >>
        value.next >> value.waits;
    argument.endStructure();
    return argument;
}

} // namespace talo::interface
