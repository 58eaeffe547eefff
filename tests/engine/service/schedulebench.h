// A service whose schedules go by a clock of the test's, and what there is to see of it.
#pragma once

#include "engine/service/privatebus.h"
#include "interface/names.h"
#include "interface/types.h"

#include <QDBusReply>
#include <QObject>
#include <QTemporaryDir>

#include <memory>
#include <string>

inline constexpr qint64 kHour = 3600;
inline constexpr qint64 kDay = 24 * kHour;
inline constexpr qint64 kDue = 1795269900; // 2026-11-21 14:05:00 UTC, a Saturday

void writeFile(const QString &path, const QByteArray &content);

// The engine's list of schedules, after their number and ":".
std::string listed();

// At 14:05.
struct Added {
    const char *name;
    int type;
    int weekday;
};

// Base of the test classes: a folder with signatures and a threat, and a service on it.
class ScheduleBench : public QObject
{
    Q_OBJECT

protected slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

protected:
    // The clock of the schedules begins at `moment` and goes `rate` times as fast.
    void start(qint64 moment, int rate);
    void kill();
    void prepare(const QList<Added> &schedules);
    void supply(const char *name, const char *type, const char *attribute, const char *value);
    QDBusMessage call(const char *interface, const char *method, const QVariantList &arguments = {})
    {
        return ask(bus_->connect("caller"), interface, method, arguments);
    }
    talo::interface::ScheduleList all()
    {
        return QDBusReply<talo::interface::ScheduleList>(call(talo::interface::kSchedules, "All"))
            .value();
    }
    talo::interface::RunningJobs running()
    {
        return QDBusReply<talo::interface::RunningJobs>(call(talo::interface::kScan, "Running"))
            .value();
    }
    uint pausedScan(uint kind, const QByteArray &path);

    std::unique_ptr<PrivateBus> bus_;
    std::unique_ptr<QTemporaryDir> folder_;
    std::unique_ptr<Program> service_;
};
