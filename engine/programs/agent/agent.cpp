#include "programs/agent/agent.h"

#include "programs/agent/enginelink.h"

#include <QDir>
#include <QProcess>

namespace talo::programs
{

namespace
{

constexpr char kPanel[] = "/usr/local/taloantivirus/bin/taloantivirus";
constexpr char kSignatureGroup[] = "signatures";
constexpr int kHourMs = 60 * 60 * 1000;
constexpr int kLatestThreats = 3;

} // namespace

Agent::Agent(const QDBusConnection &session, const QStringList &buses, const QString &stampFile)
    : notifier_(session), signaturesTold_(stampFile)
{
    connect(&notifier_, &Notifier::clicked, this, &Agent::openPanel);
    connect(&notifier_, &Notifier::shown, this, &Agent::noteShown);
    hourly_.setInterval(kHourMs);
    hourly_.setTimerType(Qt::VeryCoarseTimer);
    for (const QString &bus : buses)
        listen(new EngineLink(bus, this));
    hourly_.start();
}

void Agent::listen(EngineLink *link)
{
    connect(link, &EngineLink::threatFound, this, &Agent::tellThreat);
    connect(link, &EngineLink::scanEnded, this, &Agent::tellEnd);
    connect(link, &EngineLink::status, this, &Agent::tellSignatures);
    // The end of its scans will not be told any more.
    connect(link, &EngineLink::serviceGone, this, [this] { running_.clear(); });
    connect(&hourly_, &QTimer::timeout, link, &EngineLink::greet);
    link->open();
}

// One notification for each scan grows, instead of one popping up for each file.
void Agent::tellThreat(const QString &scanType, const FoundThreat &threat)
{
    Finds &finds = running_[scanType];
    if (finds.count == 0)
        finds.number = ++scans_;
    ++finds.count;
    finds.latest << threat;
    if (finds.latest.size() > kLatestThreats)
        finds.latest.removeFirst();
    Notice notice = threatNotice(scanType, finds.count, finds.latest);
    notice.group = QStringLiteral("threats %1").arg(finds.number);
    notifier_.show(notice);
}

void Agent::tellEnd(const EndedScan &scan)
{
    running_.remove(scan.type);
    std::optional<Notice> notice = endNotice(scan);
    if (!notice)
        return;
    notice->group = QStringLiteral("end %1").arg(++scans_);
    notifier_.show(*notice);
}

void Agent::tellSignatures(const QVariantMap &status)
{
    const QDateTime now = QDateTime::currentDateTimeUtc();
    std::optional<Notice> notice = signatureNotice(status, now);
    if (!notice || !signaturesTold_.due(now))
        return;
    notice->group = QString::fromLatin1(kSignatureGroup);
    notifier_.show(*notice);
}

// Not before the desktop has it: the session may end while it waits.
void Agent::noteShown(const QString &group)
{
    if (group == QLatin1String(kSignatureGroup))
        signaturesTold_.set(QDateTime::currentDateTimeUtc());
}

// The panel itself sees to it that it runs once.
void Agent::openPanel()
{
    if (!QProcess::startDetached(QString::fromLatin1(kPanel), {}, QDir::homePath()))
        qWarning("Cannot start %s", kPanel);
}

} // namespace talo::programs
