#include "service/busobject.h"

#include "interface/names.h"
#include "scan/quarantine.h"
#include "scan/workerpool.h"
#include "service/log.h"
#include "service/scanservice.h"
#include "service/shown.h"
#include "store/reportstore.h"

#include <QDBusMessage>

#include <algorithm>
#include <unistd.h>

namespace talo::service
{

namespace
{

// In bytes; half of what the system's bus lets pass as one message.
constexpr std::size_t kLongestList = std::size_t{16} << 20u;
constexpr std::size_t kEntrySize = 64; // of an object without its path and threat

QString text(const char *name)
{
    return QString::fromLatin1(name);
}

const char *errorName(ScanService::Refusal refusal)
{
    switch (refusal) {
    case ScanService::Refusal::NotFound:
        return interface::kErrorNotFound;
    case ScanService::Refusal::AlreadyRunning:
        return interface::kErrorRunning;
    case ScanService::Refusal::LimitReached:
        return interface::kErrorLimit;
    case ScanService::Refusal::Invalid:
    case ScanService::Refusal::None:
        break;
    }
    return interface::kErrorInvalid;
}

// An identifier becomes a file's name: nothing that could lead out of the quarantine's folder may
// come near it.
bool isIdentifier(const QString &id)
{
    return !id.isEmpty() && id.size() <= 64 && std::all_of(id.begin(), id.end(), [](QChar letter) {
        return (letter >= QLatin1Char('0') && letter <= QLatin1Char('9')) ||
               (letter >= QLatin1Char('a') && letter <= QLatin1Char('z'));
    });
}

QDBusMessage answerTo(const QDBusMessage &question, const scan::Quarantine::Outcome &outcome)
{
    const QString reason = QString::fromStdString(shown(outcome.reason));
    switch (outcome.result) {
    case scan::Quarantine::Result::Done:
        return question.createReply();
    case scan::Quarantine::Result::NotFound:
        return question.createErrorReply(text(interface::kErrorNotFound),
                                         QStringLiteral("the quarantine has no such object"));
    case scan::Quarantine::Result::Failed:
        break;
    }
    return question.createErrorReply(text(interface::kErrorFailed), reason);
}

} // namespace

BusObject::BusObject(Rooms rooms) : rooms_(std::move(rooms)) {}

bool BusObject::permitted(Action action)
{
    const QString refusal = authority_.refusal(action, connection(), message().service());
    if (!refusal.isEmpty())
        sendErrorReply(text(interface::kErrorNotPermitted), refusal);
    return refusal.isEmpty();
}

QVariantMap BusObject::GetStatus()
{
    if (!permitted(Action::ReadStatus))
        return {};
    const SignatureSet set = rooms_.signatures();
    return {
        {QStringLiteral("version"), QStringLiteral(TALO_VERSION)},
        {QStringLiteral("user"), static_cast<uint>(geteuid())},
        {QStringLiteral("signatureSet"), QString::fromStdString(set.kind)},
        {QStringLiteral("signatureFolder"), QString::fromStdString(shown(set.folder))},
        {QStringLiteral("signatureVersion"), QString::fromStdString(set.version)},
        {QStringLiteral("signatureTime"), static_cast<qlonglong>(set.time)},
        {QStringLiteral("signatureCount"), static_cast<uint>(rooms_.pool.signatures().count)},
        {QStringLiteral("jobs"), static_cast<uint>(rooms_.scans.running().size())},
    };
}

uint BusObject::Start(uint kind, const QByteArray &path)
{
    if (!permitted(Action::StartScan))
        return 0;
    const ScanService::Started started = rooms_.scans.start(kind, path);
    if (started.refusal != ScanService::Refusal::None)
        sendErrorReply(text(errorName(started.refusal)), started.reason);
    return started.job;
}

void BusObject::control(uint job, bool (ScanService::*what)(uint))
{
    if (permitted(Action::ControlScan) && !(rooms_.scans.*what)(job))
        sendErrorReply(text(interface::kErrorNotFound), QStringLiteral("there is no such scan"));
}

void BusObject::Pause(uint job)
{
    control(job, &ScanService::pause);
}

void BusObject::Resume(uint job)
{
    control(job, &ScanService::resume);
}

void BusObject::Stop(uint job)
{
    control(job, &ScanService::stop);
}

interface::ScanProgress BusObject::Progress(uint job, uint threatsFrom)
{
    if (!permitted(Action::WatchScan))
        return {};
    const auto progress = rooms_.scans.progress(job, threatsFrom);
    if (!progress)
        sendErrorReply(text(interface::kErrorNotFound), QStringLiteral("there is no such scan"));
    return progress.value_or(interface::ScanProgress());
}

interface::RunningJobs BusObject::Running()
{
    return permitted(Action::WatchScan) ? rooms_.scans.running() : interface::RunningJobs();
}

int BusObject::List(const QString &from, const QString &to, interface::ReportList &reports)
{
    if (!permitted(Action::ReadReports))
        return 0;
    const auto listing = rooms_.reports.list(from.toStdString(), to.toStdString());
    for (const auto &entry : listing.entries)
        reports.append({QString::fromStdString(entry.key), QString::fromStdString(entry.type)});
    return listing.code;
}

int BusObject::Read(const QString &key, QString &date, QString &time, QString &text, QString &type)
{
    if (!permitted(Action::ReadReports))
        return 0;
    const auto reading = rooms_.reports.read(key.toStdString());
    date = QString::fromStdString(reading.date);
    time = QString::fromStdString(reading.time);
    text = QString::fromStdString(reading.text);
    type = QString::fromStdString(reading.type);
    return reading.code;
}

int BusObject::Delete(const QString &key)
{
    return permitted(Action::DeleteReports) ? rooms_.reports.remove(key.toStdString()) : 0;
}

QString BusObject::LastFullScan()
{
    return permitted(Action::ReadReports) ? QString::fromStdString(rooms_.reports.lastFullScan())
                                          : QString();
}

void BusObject::answerLater(std::function<QDBusMessage(const QDBusMessage &)> work)
{
    setDelayedReply(true);
    rooms_.housekeeper.run([work = std::move(work), question = message(), bus = connection()] {
        bus.send(work(question));
    });
}

interface::QuarantineList BusObject::List()
{
    if (!permitted(Action::ReadQuarantine))
        return {};
    answerLater([&quarantine = rooms_.quarantine](const QDBusMessage &question) {
        interface::QuarantineList list;
        std::size_t length = 0;
        for (const auto &object : quarantine.list()) {
            if (length > kLongestList) {
                log(Level::Warning, "the quarantine holds more than one answer can list");
                break;
            }
            const std::string path = shown(object.path);
            const std::string threat = shown(object.threat);
            length += kEntrySize + path.size() + threat.size();
            list.append({QString::fromStdString(object.id), static_cast<qlonglong>(object.time),
                         QString::fromStdString(path), QString::fromStdString(threat),
                         object.size});
        }
        return question.createReply(QVariant::fromValue(list));
    });
    return {};
}

void BusObject::Restore(const QString &id)
{
    if (!permitted(Action::RestoreFromQuarantine))
        return;
    answerLater([&quarantine = rooms_.quarantine, id](const QDBusMessage &question) {
        return answerTo(question, isIdentifier(id) ? quarantine.restore(id.toStdString())
                                                   : scan::Quarantine::Outcome{
                                                         scan::Quarantine::Result::NotFound, {}});
    });
}

void BusObject::Purge(const QString &id)
{
    if (!permitted(Action::PurgeQuarantine))
        return;
    answerLater([&quarantine = rooms_.quarantine, id](const QDBusMessage &question) {
        return answerTo(question, isIdentifier(id) ? quarantine.purge(id.toStdString())
                                                   : scan::Quarantine::Outcome{
                                                         scan::Quarantine::Result::NotFound, {}});
    });
}

} // namespace talo::service
