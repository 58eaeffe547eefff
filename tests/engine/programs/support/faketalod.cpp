#include "engine/programs/support/faketalod.h"

#include "interface/busconnection.h"

#include <QDBusMessage>
#include <QDateTime>

namespace talo::tests
{

namespace
{

constexpr int kPage = 100;
constexpr uint kJob = 7;

using Lock = std::lock_guard<std::mutex>;

} // namespace

FakeTalod::FakeTalod(const QString &busAddress)
{
    static int number = 0;
    name_ = QStringLiteral("fake-talod-%1").arg(++number);
    interface::registerTypes();
    status_ = {{QStringLiteral("version"), QStringLiteral("9.9")},
               {QStringLiteral("user"), 0U},
               {QStringLiteral("signatureSet"), QStringLiteral("updated")},
               {QStringLiteral("signatureFolder"), QStringLiteral("/var/lib/signatures")},
               {QStringLiteral("signatureVersion"), QStringLiteral("27123")},
               {QStringLiteral("signatureTime"), QDateTime::currentSecsSinceEpoch() - 100},
               {QStringLiteral("signatureCount"), 2036512U},
               {QStringLiteral("jobs"), 0U}};
    progress_.state = interface::Scanning;
    moveToThread(&thread_);
    thread_.start();
    QMetaObject::invokeMethod(
        this,
        [this, busAddress] {
            QDBusConnection bus = interface::connectToBus(busAddress, name_);
            bus.registerVirtualObject(QString::fromLatin1(interface::kObject), this);
            bus.registerService(QString::fromLatin1(interface::kService));
        },
        Qt::BlockingQueuedConnection);
}

FakeTalod::~FakeTalod()
{
    die();
    thread_.quit();
    thread_.wait();
}

// On the thread that answers: a connection that goes while a call is being answered takes the
// library's own thread with it.
void FakeTalod::die()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            QDBusConnection(name_).unregisterObject(QString::fromLatin1(interface::kObject));
            QDBusConnection::disconnectFromBus(name_);
        },
        Qt::BlockingQueuedConnection);
}

void FakeTalod::refuse(const QString &method, const QString &errorName, const QString &text)
{
    const Lock lock(mutex_);
    refusals_[method] = QStringList{errorName, text};
}

void FakeTalod::keepSilent(const QString &method)
{
    const Lock lock(mutex_);
    silent_ << method;
}

void FakeTalod::setProgress(const interface::ScanProgress &progress)
{
    const Lock lock(mutex_);
    progress_ = progress;
}

void FakeTalod::setThreats(const QList<interface::ThreatFound> &threats)
{
    const Lock lock(mutex_);
    threats_ = threats;
    progress_.threats = static_cast<uint>(threats.size());
}

void FakeTalod::setStatus(const QVariantMap &status)
{
    const Lock lock(mutex_);
    status_ = status;
}

void FakeTalod::setReports(const QList<interface::ReportEntry> &reports, const QString &text)
{
    const Lock lock(mutex_);
    reports_ = reports;
    reportText_ = text;
}

void FakeTalod::setQuarantine(const interface::QuarantineList &objects)
{
    const Lock lock(mutex_);
    quarantine_ = objects;
}

void FakeTalod::answerWith(const QString &method, const QVariantList &values)
{
    const Lock lock(mutex_);
    answers_.insert(method, values);
}

void FakeTalod::setIgnoresStop(bool ignores)
{
    const Lock lock(mutex_);
    ignoresStop_ = ignores;
}

QStringList FakeTalod::calls() const
{
    const Lock lock(mutex_);
    return calls_;
}

int FakeTalod::callsOf(const QString &method) const
{
    return calls().count(method);
}

QByteArray FakeTalod::startedPath() const
{
    const Lock lock(mutex_);
    return startedPath_;
}

uint FakeTalod::startedKind() const
{
    const Lock lock(mutex_);
    return startedKind_;
}

QStringList FakeTalod::listedRange() const
{
    const Lock lock(mutex_);
    return listedRange_;
}

QString FakeTalod::introspect(const QString &) const
{
    return QString();
}

bool FakeTalod::handleMessage(const QDBusMessage &message, const QDBusConnection &connection)
{
    const Lock lock(mutex_);
    const QString method = message.member();
    calls_ << method;
    if (silent_.contains(method))
        return true;
    const QStringList refusal = refusals_.value(method);
    if (!refusal.isEmpty())
        return connection.send(message.createErrorReply(refusal.at(0), refusal.at(1)));
    return connection.send(message.createReply(answer(method, message.arguments())));
}

QVariantList FakeTalod::answer(const QString &method, const QVariantList &arguments)
{
    if (answers_.contains(method))
        return answers_.value(method);
    if (method == QLatin1String("Start")) {
        startedKind_ = arguments.at(0).toUInt();
        startedPath_ = arguments.at(1).toByteArray();
        return {kJob};
    }
    if (method == QLatin1String("Progress"))
        return progressFrom(arguments.at(1).toUInt());
    if (method == QLatin1String("Pause"))
        progress_.state = interface::Paused;
    else if (method == QLatin1String("Resume"))
        progress_.state = interface::Scanning;
    else if (method == QLatin1String("Stop"))
        progress_.state = ignoresStop_ ? interface::Stopping : interface::Stopped;
    else if (method == QLatin1String("Running"))
        return {QVariant::fromValue(interface::RunningJobs{{kJob, interface::QuickScan}})};
    else if (method == QLatin1String("GetStatus"))
        return {status_};
    else if (method == QLatin1String("List") && arguments.isEmpty())
        return {QVariant::fromValue(quarantine_)};
    else if (method == QLatin1String("List") || method == QLatin1String("Read") ||
             method == QLatin1String("Delete"))
        return report(method, arguments);
    return {};
}

QVariantList FakeTalod::report(const QString &method, const QVariantList &arguments)
{
    if (method == QLatin1String("List")) {
        listedRange_ = QStringList{arguments.at(0).toString(), arguments.at(1).toString()};
        const bool none = reports_.isEmpty();
        return {none ? 204 : 0, QVariant::fromValue(reports_)};
    }
    const QString key = arguments.at(0).toString();
    bool known = false;
    for (const interface::ReportEntry &entry : reports_)
        known = known || entry.key == key;
    if (method == QLatin1String("Delete"))
        return {known ? 0 : 203};
    if (!known)
        return {203, QString(), QString(), QString(), QString()};
    return {0, key.left(10), key.mid(11), reportText_, QStringLiteral("Custom Scan")};
}

QVariantList FakeTalod::progressFrom(uint first)
{
    interface::ScanProgress progress = progress_;
    progress.found = threats_.mid(static_cast<int>(first), kPage);
    return {QVariant::fromValue(progress)};
}

} // namespace talo::tests
