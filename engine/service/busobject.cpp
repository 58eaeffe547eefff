#include "service/busobject.h"

#include "interface/names.h"
#include "scan/quarantine.h"
#include "service/guardservice.h"
#include "service/log.h"
#include "service/passwordservice.h"
#include "service/shown.h"
#include "store/reportstore.h"
#include "taloversion.h"

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

BusObject::BusObject(Rooms rooms) : rooms_(std::move(rooms))
{
    connect(&rooms_.scans, &ScanService::unwatchedThreat, this, &BusObject::announceThreat);
    connect(&rooms_.scans, &ScanService::scanEnded, this, &BusObject::announceEnd);
}

bool BusObject::permitted(Action action)
{
    const Refusal refusal = rooms_.authority.decideAtOnce(action, message().service());
    if (refusal)
        sendErrorReply(text(refusal.error), refusal.reason);
    return !refusal;
}

Call BusObject::call(uint user)
{
    return {message(), connection(), user};
}

void BusObject::whenPermitted(Action action, Work work)
{
    setDelayedReply(true);
    rooms_.authority.decide(
        {action, message().service(), message().isInteractiveAuthorizationAllowed()},
        [call = call(), work = std::move(work)](const Refusal &refusal, uint user) {
            if (refusal)
                call.refuse(refusal.error, refusal.reason);
            else
                work({call.question, call.bus, user});
        });
}

void BusObject::aside(const Call &call, std::function<QDBusMessage(const QDBusMessage &)> work)
{
    rooms_.housekeeper.run([call, work = std::move(work)] { call.send(work(call.question)); });
}

QVariantMap BusObject::GetStatus()
{
    if (!permitted(Action::ReadStatus))
        return {};
    const SignatureSet set = rooms_.signatures();
    QVariantMap status{
        {QStringLiteral("version"), QStringLiteral(TALO_VERSION)},
        {QStringLiteral("user"), static_cast<uint>(geteuid())},
        {QStringLiteral("signatureSet"), QString::fromStdString(set.kind)},
        {QStringLiteral("signatureFolder"), QString::fromStdString(shown(set.folder))},
        {QStringLiteral("signatureVersion"), QString::fromStdString(set.version)},
        {QStringLiteral("signatureTime"), static_cast<qlonglong>(set.time)},
        {QStringLiteral("signatureUpdated"), static_cast<qlonglong>(set.updated)},
        {QStringLiteral("signatureCount"), rooms_.pools.signatures()},
        {QStringLiteral("jobs"), static_cast<uint>(rooms_.scans.running().size())},
    };
    const QVariantMap enforced = rooms_.guards.status();
    for (auto value = enforced.begin(); value != enforced.end(); ++value)
        status.insert(value.key(), value.value());
    return status;
}

uint BusObject::Start(uint kind, const QByteArray &path)
{
    whenPermitted(Action::StartScan, [this, kind, path](const Call &call) {
        const ScanService::Started started = rooms_.scans.start(kind, path);
        if (started.refusal != ScanService::Refusal::None)
            call.refuse(errorName(started.refusal), started.reason);
        else
            call.answer({started.job});
    });
    return 0;
}

void BusObject::control(uint job, bool (ScanService::*what)(uint))
{
    whenPermitted(Action::ControlScan, [&scans = rooms_.scans, job, what](const Call &call) {
        if ((scans.*what)(job))
            call.answer();
        else
            call.refuse(interface::kErrorNotFound, QStringLiteral("there is no such scan"));
    });
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
    whenPermitted(Action::DeleteReports, [this, key](const Call &call) {
        call.answer({rooms_.reports.remove(key.toStdString())});
    });
    return 0;
}

QString BusObject::LastFullScan()
{
    return permitted(Action::ReadReports) ? QString::fromStdString(rooms_.reports.lastFullScan())
                                          : QString();
}

interface::QuarantineList BusObject::List()
{
    if (!permitted(Action::ReadQuarantine))
        return {};
    setDelayedReply(true);
    aside(call(), [&quarantine = rooms_.quarantine](const QDBusMessage &question) {
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
    whenPermitted(Action::RestoreFromQuarantine, [this, id](const Call &call) {
        aside(call, [&quarantine = rooms_.quarantine, id](const QDBusMessage &question) {
            return answerTo(
                question, isIdentifier(id)
                              ? quarantine.restore(id.toStdString())
                              : scan::Quarantine::Outcome{scan::Quarantine::Result::NotFound, {}});
        });
    });
}

void BusObject::Purge(const QString &id)
{
    whenPermitted(Action::PurgeQuarantine, [this, id](const Call &call) {
        aside(call, [&quarantine = rooms_.quarantine, id](const QDBusMessage &question) {
            return answerTo(
                question, isIdentifier(id)
                              ? quarantine.purge(id.toStdString())
                              : scan::Quarantine::Outcome{scan::Quarantine::Result::NotFound, {}});
        });
    });
}

bool BusObject::Exists()
{
    whenPermitted(Action::ReadPassword,
                  [this](const Call &call) { rooms_.passwords.exists(call); });
    return false;
}

bool BusObject::Protection()
{
    whenPermitted(Action::ReadPassword,
                  [this](const Call &call) { rooms_.passwords.protection(call); });
    return false;
}

void BusObject::SetProtection(bool on)
{
    whenPermitted(Action::ChangeProtection,
                  [this, on](const Call &call) { rooms_.passwords.setProtection(call, on); });
}

// Passwords are taken out of the message at once, whatever becomes of the call.
bool BusObject::Validate(const QByteArray &password)
{
    const auto given = PasswordService::take(password);
    whenPermitted(Action::ValidatePassword,
                  [this, given](const Call &call) { rooms_.passwords.validate(call, given); });
    return false;
}

int BusObject::Create(const QByteArray &password, const QByteArray &confirmation)
{
    const auto given = PasswordService::take(password);
    const auto again = PasswordService::take(confirmation);
    whenPermitted(Action::CreatePassword, [this, given, again](const Call &call) {
        rooms_.passwords.create(call, given, again);
    });
    return 0;
}

int BusObject::Change(const QByteArray &current, const QByteArray &password,
                      const QByteArray &confirmation)
{
    const auto before = PasswordService::take(current);
    const auto given = PasswordService::take(password);
    const auto again = PasswordService::take(confirmation);
    whenPermitted(Action::ChangePassword, [this, before, given, again](const Call &call) {
        rooms_.passwords.change(call, before, given, again);
    });
    return 0;
}

int BusObject::Reset()
{
    whenPermitted(Action::ResetPassword,
                  [this](const Call &call) { rooms_.passwords.reset(call); });
    return 0;
}

} // namespace talo::service
