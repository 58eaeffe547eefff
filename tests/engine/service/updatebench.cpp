#include "engine/service/updatebench.h"

#include "interface/names.h"

#include <QDBusReply>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>
#include <sys/stat.h>
#include <utime.h>

using namespace talo::interface;

namespace
{

QByteArray testFile()
{
    return QByteArray("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-") + "ANTIVIRUS-TEST-FILE!$H+H*";
}

QByteArray signature(const QString &name)
{
    return name.toUtf8() + ":0:0:" + testFile().toHex() + '\n';
}

bool write(const QString &path, const QByteArray &content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

} // namespace

UpdateBench::UpdateBench() : bus_(std::make_unique<PrivateBus>())
{
    registerTypes();
    qputenv("TALO_BUS", bus_->address().toLatin1());
    caller_ = bus_->connect(QStringLiteral("bench"));
    // The download runs as another user.
    chmod(QFile::encodeName(folder_.path()).constData(), 0755);
    for (const char *name : {"www", "work"})
        QDir().mkpath(path(QLatin1String(name)));
    chmod(QFile::encodeName(path(QStringLiteral("work"))).constData(), 01777);
    serve(QStringLiteral("normal"));
    startServer();
}

bool UpdateBench::ready() const
{
    return caller_.isConnected() && !port_.isEmpty();
}

bool UpdateBench::startServer()
{
    server_ = std::make_unique<Program>();
    server_->start(QStringLiteral("python3"),
                   {QStringLiteral(TALO_SIGNATURE_SERVER), path(QStringLiteral("www"))});
    port_.clear();
    if (server_->waitForReadyRead(20000))
        port_ = QString::fromLatin1(server_->readLine()).trimmed();
    return configure({});
}

void UpdateBench::stopServer()
{
    server_.reset();
}

bool UpdateBench::configure(const QStringList &lines)
{
    QStringList text{QStringLiteral("[Update]"), QStringLiteral("Official = no"),
                     QStringLiteral("Database = http://127.0.0.1:%1/test.ndb").arg(port_),
                     QStringLiteral("StartDelay = 86400")};
    if (lines.filter(QStringLiteral("WorkFolder")).isEmpty())
        text << QStringLiteral("WorkFolder = ") + path(QStringLiteral("work"));
    if (lines.filter(QStringLiteral("Timeout")).isEmpty())
        text << QStringLiteral("Timeout = 2");
    return write(path(QStringLiteral("conf")), (text + lines).join('\n').toUtf8() + '\n');
}

bool UpdateBench::startService(const QStringList &options)
{
    service_ = ::startService(
        *bus_, path(QStringLiteral("state")),
        QStringList{QStringLiteral("--config"), path(QStringLiteral("conf"))} + options);
    return service_ != nullptr;
}

void UpdateBench::killService()
{
    service_->kill();
    service_->waitForFinished();
    service_.reset();
    if (!QTest::qWaitFor([this] { return !bus_->owned(); }, 10000))
        qWarning("the service did not leave the bus");
}

void UpdateBench::endService()
{
    service_->terminate();
    service_->waitForFinished();
    service_.reset();
    if (!QTest::qWaitFor([this] { return !bus_->owned(); }, 10000))
        qWarning("the service did not leave the bus");
}

void UpdateBench::serve(const QString &mode)
{
    write(path(QStringLiteral("www/mode.new")), mode.toUtf8());
    ::rename(QFile::encodeName(path(QStringLiteral("www/mode.new"))).constData(),
             QFile::encodeName(path(QStringLiteral("www/mode"))).constData());
}

bool UpdateBench::publishAtOnce(const QString &name)
{
    const QString file = path(QStringLiteral("www/test.ndb"));
    const QString fresh = file + QStringLiteral(".new");
    return write(fresh, signature(name)) &&
           ::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(file).constData()) == 0;
}

bool UpdateBench::publish(const QString &name, int more)
{
    QByteArray text = signature(name);
    for (int number = 0; number < more; ++number)
        text += QStringLiteral("Talo.None.%1:0:0:%2\n")
                    .arg(number)
                    .arg(qulonglong(number) * 7919 + 0x1234567890abcdULL, 40, 16, QLatin1Char('0'))
                    .toUtf8();
    const QString file = path(QStringLiteral("www/test.ndb"));
    const QString fresh = file + QStringLiteral(".new");
    if (!write(fresh, text))
        return false;
    // freshclam asks for what is newer than its own copy, which has the second of its download.
    const std::time_t when = QDateTime::currentSecsSinceEpoch() + 1;
    const utimbuf times{when, when};
    return utime(QFile::encodeName(fresh).constData(), &times) == 0 &&
           ::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(file).constData()) ==
               0 &&
           QTest::qWaitFor([when] { return QDateTime::currentSecsSinceEpoch() >= when; });
}

QStringList UpdateBench::served() const
{
    QFile log(path(QStringLiteral("www/log")));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(log.readAll()).split('\n', Qt::SkipEmptyParts);
}

QString UpdateBench::detected()
{
    const QString folder = path(QStringLiteral("scanned"));
    QDir().mkpath(folder);
    if (!write(folder + QStringLiteral("/test.com"), testFile()))
        return QString();
    const QDBusReply<uint> job = ask(caller_, kScan, "Start", {2u, QFile::encodeName(folder)});
    ScanProgress progress;
    const bool ended = QTest::qWaitFor(
        [&] {
            progress = QDBusReply<ScanProgress>(ask(caller_, kScan, "Progress", {job.value(), 0u}))
                           .value();
            return progress.state >= Finished;
        },
        60000);
    if (!ended || !progress.failure.isEmpty())
        qWarning("the scan failed: %s", qPrintable(progress.failure));
    return progress.found.isEmpty() ? QString()
                                    : progress.found[0].name.section(QLatin1Char('.'), 0, 2);
}

QVariantMap UpdateBench::state() const
{
    return QDBusReply<QVariantMap>(ask(caller_, kUpdates, "UpdateState")).value();
}

QVariantMap UpdateBench::status() const
{
    return QDBusReply<QVariantMap>(ask(caller_, kStatus, "GetStatus")).value();
}

QStringList UpdateBench::leftovers() const
{
    const auto all = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
    QStringList found = QDir(path(QStringLiteral("work"))).entryList(all);
    const QDir signatures(path(QStringLiteral("state/signatures")));
    for (const QString &entry : signatures.entryList(all))
        if (!QStringList{"sets", "current", "previous", "freshclam.dat"}.contains(entry))
            found << entry;
    const QStringList sets = QDir(signatures.filePath(QStringLiteral("sets"))).entryList(all);
    if (sets.size() > 2)
        found << sets;
    return found;
}
