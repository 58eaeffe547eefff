#include "engine/service/schedulebench.h"

#include "engine/libschedulescan.h"
#include "support/soon.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace talo::interface;

namespace
{

QByteArray eicar()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

} // namespace

void writeFile(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

std::string listed()
{
    std::string list;
    int count = -1;
    const int code = libScheduleScan::GetScheduleList(list, &count);
    return code == 0 ? std::to_string(count) + ':' + list : "code " + std::to_string(code);
}

void ScheduleBench::initTestCase()
{
    registerTypes();
    qputenv("TZ", "UTC"); // the service's too
    bus_ = std::make_unique<PrivateBus>();
    QVERIFY(!bus_->address().isEmpty());
    qputenv("TALO_BUS", bus_->address().toLatin1());
}

void ScheduleBench::init()
{
    folder_ = std::make_unique<QTemporaryDir>();
    // The workers read the set as another user.
    QVERIFY(QFile::setPermissions(folder_->path(), QFile::Permissions(0x7755)));
    writeFile(folder_->filePath("set/test.ndb"), "Talo.Test.Eicar:0:0:" + eicar().toHex() + "\n");
    writeFile(folder_->filePath("place/virus"), eicar());
    QVERIFY(QDir().mkpath(folder_->filePath("power")));
}

void ScheduleBench::cleanup()
{
    kill();
    folder_.reset();
    qputenv("TZ", "UTC"); // as it is for the service
}

void ScheduleBench::cleanupTestCase()
{
    bus_.reset();
}

void ScheduleBench::start(qint64 moment, int rate)
{
    kill();
    service_ = startService(*bus_, folder_->filePath("state"),
                            {"--signatures", folder_->filePath("set"), "--power-supplies",
                             folder_->filePath("power"), "--schedule-clock",
                             QString::number(moment) + '*' + QString::number(rate)});
    QVERIFY(service_ != nullptr);
}

void ScheduleBench::kill()
{
    service_.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!bus_->owned(), kSoon);
}

// A full scan of this machine would take long, and one that acts is nothing for a test. The
// schedules are added long before they are due.
void ScheduleBench::prepare(const QList<Added> &schedules)
{
    start(kDue - kDay / 2, 1);
    SettingMap actions;
    for (const char *action : {"InfectedFirst", "InfectedSecond", "SuspectedFirst",
                               "SuspectedSecond", "HiddenFirst", "HiddenSecond"})
        actions.insert(action, 304);
    QCOMPARE(call(kSettings, "Apply", {"ScanActions", QVariant::fromValue(actions)}).type(),
             QDBusMessage::ReplyMessage);
    const QDir::Filters everything =
        QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    const QString ours = folder_->path();
    for (QString above = QStringLiteral("/"); above != ours;) {
        const QString next = above + (above == "/" ? "" : "/") +
                             ours.mid(above == "/" ? 1 : above.size() + 1).section('/', 0, 0);
        for (const QFileInfo &entry : QDir(above).entryInfoList(everything))
            if (entry.filePath() != next && !entry.filePath().contains(','))
                call(kExclusions, "Add", {QFile::encodeName(entry.filePath()), 401});
        above = next;
    }
    for (const Added &added : schedules)
        QCOMPARE(libScheduleScan::AddScheduleScan(
                     added.name, added.type, added.weekday == 8 ? 501 : 502, added.weekday, 14, 5),
                 0);
}

void ScheduleBench::supply(const char *name, const char *type, const char *attribute,
                           const char *value)
{
    const QString path = folder_->filePath(QStringLiteral("power/") + name + '/');
    writeFile(path + "type", type);
    writeFile(path + attribute, value);
}

// One that neither goes on nor ends.
uint ScheduleBench::pausedScan(uint kind, const QByteArray &path)
{
    const QDBusReply<uint> job = call(kScan, "Start", {kind, path});
    call(kScan, "Pause", {job.value()});
    return job.value();
}
