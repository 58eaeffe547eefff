// Values that travel between the service and its clients. All texts are printable UTF-8: bytes of a
// file name that are not, and control characters, come escaped.
#pragma once

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

class QDBusArgument;

namespace talo::interface
{

struct ThreatFound {
    QString path;
    QString name;        // of the threat
    QString threatClass; // "infected", "suspected" or "hidden"
    QString outcome;     // what was done, in words
};

struct ScanProgress {
    uint state = 0;  // JobState
    QString current; // the file that is being scanned
    qulonglong filesDone = 0;
    qulonglong filesTotal = 0; // 0 until counted
    qulonglong bytesDone = 0;
    qulonglong bytesTotal = 0;  // 0 until counted
    qulonglong elapsedMs = 0;   // without pauses
    qlonglong remainingMs = -1; // -1 until it can be told
    uint clean = 0;
    uint threats = 0;
    uint skipped = 0;
    uint errors = 0;
    QString report;           // key of the report, once it is stored
    QString failure;          // why the job failed, in words
    QList<ThreatFound> found; // from the asked number on, at most 100 at a time
};

struct RunningJob {
    uint job = 0;
    uint kind = 0;
};
using RunningJobs = QList<RunningJob>;

struct ReportEntry {
    QString key;
    QString type;
};
using ReportList = QList<ReportEntry>;

struct QuarantineEntry {
    QString id;
    qlonglong time = 0;
    QString path;
    QString threat;
    qulonglong size = 0;
};
using QuarantineList = QList<QuarantineEntry>;

struct UpdateProgress {
    uint status = 0;         // UpdateStatus
    qlonglong total = 0;     // kilobytes, rounded up
    qlonglong remaining = 0; // kilobytes, rounded up
    double percentage = 0;   // of the whole run, 0 to 100
    int speed = 0;           // kilobytes a second
    QString detail;          // with a final status: why, in words
};
struct ScheduleEntry {
    QString name;
    int type = 0;    // 1 full scan, 3 quick scan
    int weekday = 0; // 0 Sunday to 6 Saturday, 8 every day
    int hour = 0;
    int minute = 0;
    qlonglong next = 0; // when it runs next, seconds since 1970
    QString waits;      // if it is due already: what for
};
using ScheduleList = QList<ScheduleEntry>;

// Values of one group of settings, by their keys.
using SettingMap = QMap<QString, int>;

// Makes the types known to QtDBus; call once before the first use.
void registerTypes();

QDBusArgument &operator<<(QDBusArgument &argument, const ThreatFound &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, ThreatFound &value);
QDBusArgument &operator<<(QDBusArgument &argument, const ScanProgress &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, ScanProgress &value);
QDBusArgument &operator<<(QDBusArgument &argument, const RunningJob &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, RunningJob &value);
QDBusArgument &operator<<(QDBusArgument &argument, const ReportEntry &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, ReportEntry &value);
QDBusArgument &operator<<(QDBusArgument &argument, const UpdateProgress &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, UpdateProgress &value);
QDBusArgument &operator<<(QDBusArgument &argument, const QuarantineEntry &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, QuarantineEntry &value);
QDBusArgument &operator<<(QDBusArgument &argument, const ScheduleEntry &value);
const QDBusArgument &operator>>(const QDBusArgument &argument, ScheduleEntry &value);

} // namespace talo::interface

Q_DECLARE_METATYPE(talo::interface::ThreatFound)
Q_DECLARE_METATYPE(talo::interface::ScanProgress)
Q_DECLARE_METATYPE(talo::interface::RunningJob)
Q_DECLARE_METATYPE(talo::interface::ReportEntry)
Q_DECLARE_METATYPE(talo::interface::QuarantineEntry)
Q_DECLARE_METATYPE(talo::interface::UpdateProgress)
Q_DECLARE_METATYPE(talo::interface::ScheduleEntry)
