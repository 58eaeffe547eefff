#include "service/authority.h"

#include "files/printable.h"
#include "interface/names.h"
#include "service/callers.h"
#include "service/log.h"
#include "service/polkit.h"
#include "store/passwordstore.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <array>
#include <unistd.h>

namespace talo::service
{

namespace
{

enum class Guard { None, WhileProtected, Always };

struct Rule {
    Action action;
    const char *inWords;
    const char *polkit; // none: every local user may
    Guard guard;        // when the settings password is needed
};

// In the order of the enumeration.
//
// A new password needs none here: the first one, because there is none; a change, because it names
// the current one itself; a reset, because who forgot the password cannot give it.
constexpr std::array<Rule, static_cast<std::size_t>(Action::kEnd)> kRules{{
    {Action::ReadStatus, "read the service's state", nullptr, Guard::None},
    {Action::StartScan, "start scans", "org.taloantivirus.scan", Guard::None},
    {Action::ControlScan, "pause or stop scans", "org.taloantivirus.scan", Guard::None},
    {Action::WatchScan, "watch scans", nullptr, Guard::None},
    {Action::ReadReports, "read reports", nullptr, Guard::None},
    {Action::DeleteReports, "delete reports", "org.taloantivirus.delete-reports", Guard::None},
    {Action::ReadQuarantine, "list the quarantine", nullptr, Guard::None},
    {Action::RestoreFromQuarantine, "restore files from the quarantine",
     "org.taloantivirus.restore-from-quarantine", Guard::None},
    {Action::PurgeQuarantine, "destroy files in the quarantine",
     "org.taloantivirus.purge-quarantine", Guard::None},
    {Action::ReadSettings, "read the settings", nullptr, Guard::None},
    {Action::ChangeSettings, "change settings", "org.taloantivirus.change-settings",
     Guard::WhileProtected},
    {Action::ChangeFirewallSetting, "change the setting of the firewall",
     "org.taloantivirus.change-firewall", Guard::WhileProtected},
    {Action::SwitchFirewall, "switch the firewall on or off", "org.taloantivirus.change-firewall",
     Guard::WhileProtected},
    {Action::ChangeDeviceControl, "change the setting of USB storage",
     "org.taloantivirus.change-device-control", Guard::Always},
    {Action::ChangeExclusions, "change what scans leave out", "org.taloantivirus.change-exclusions",
     Guard::WhileProtected},
    {Action::ImportSettings, "import settings", "org.taloantivirus.import-settings",
     Guard::WhileProtected},
    {Action::ReadSchedules, "read the schedules", nullptr, Guard::None},
    {Action::ChangeSchedules, "change scheduled scans", "org.taloantivirus.change-schedules",
     Guard::WhileProtected},
    {Action::ReadPassword, "ask about the settings password", nullptr, Guard::None},
    {Action::ValidatePassword, "give the settings password", nullptr, Guard::None},
    {Action::CreatePassword, "create the settings password", "org.taloantivirus.change-password",
     Guard::None},
    {Action::ChangePassword, "change the settings password", "org.taloantivirus.change-password",
     Guard::None},
    {Action::ChangeProtection, "switch the protection of the settings on or off",
     "org.taloantivirus.change-password", Guard::WhileProtected},
    {Action::ResetPassword, "have a new settings password mailed",
     "org.taloantivirus.reset-password", Guard::None},
    {Action::UpdateProgram, "update the program", "org.taloantivirus.update-program", Guard::None},
    {Action::ReadUpdates, "ask about updates", nullptr, Guard::None},
    {Action::UpdateSignatures, "update the signatures", "org.taloantivirus.update-signatures",
     Guard::None},
}};

constexpr bool inOrder()
{
    for (std::size_t at = 0; at < kRules.size(); ++at)
        if (kRules[at].action != static_cast<Action>(at))
            return false;
    return true;
}
static_assert(inOrder(), "every action has its rule, in the order of the enumeration");

// Nobody's dialogues are to keep the others from being asked about.
constexpr unsigned kMostWaiting = 8;

const Rule &ruleOf(Action action)
{
    return kRules.at(static_cast<std::size_t>(action));
}

Refusal notPermitted(Action action)
{
    return {interface::kErrorNotPermitted,
            QStringLiteral("this user may not %1").arg(QLatin1String(ruleOf(action).inWords))};
}

Refusal passwordNeeded(const QString &reason)
{
    return {interface::kErrorPasswordNeeded, reason};
}

} // namespace

Authority::Authority(Users users, const QDBusConnection &bus, store::PasswordStore &passwords,
                     Callers &trusted)
    : users_(users), bus_(bus), passwords_(passwords), trusted_(trusted)
{
}

QString Authority::polkitAction(Action action)
{
    return QString::fromLatin1(ruleOf(action).polkit);
}

// Asked of the bus by the connection's name, which is never given to another: a process id could
// belong to somebody else by the time it is looked up.
bool Authority::knownUser(const QString &caller, uint &user) const
{
    const QDBusReply<uint> answer = bus_.interface()->serviceUid(caller);
    user = answer.value();
    return answer.isValid();
}

Refusal Authority::passwordRule(Action action, const QString &caller) const
{
    using Answer = store::PasswordStore::Answer;
    const Guard guard = ruleOf(action).guard;
    if (guard == Guard::None || trusted_.contains(caller))
        return {};
    const Answer exists = passwords_.exists();
    const Answer guards = passwords_.isProtected();
    if (exists == Answer::Failed || guards == Answer::Failed)
        return {interface::kErrorFailed,
                QStringLiteral("cannot find out whether a password guards the settings")};
    if (exists == Answer::No)
        return guard == Guard::Always
                   ? passwordNeeded(QStringLiteral("create a settings password first; without one "
                                                   "nobody may %1")
                                        .arg(QLatin1String(ruleOf(action).inWords)))
                   : Refusal();
    if (guard == Guard::WhileProtected && guards == Answer::No)
        return {};
    return passwordNeeded(QStringLiteral("give the settings password first, to %1")
                              .arg(QLatin1String(ruleOf(action).inWords)));
}

// Before anything that costs more than the answer.
Refusal Authority::tooMany(uint user)
{
    if (users_ == Users::OnlyOurOwn || user == 0 || rate_.admits(user))
        return {};
    return {interface::kErrorLimit, QStringLiteral("this user asks too often; wait a moment")};
}

Refusal Authority::ownRule(Action action, const QString &caller, uint user) const
{
    const bool ours = user == 0 || user == geteuid();
    const bool readable = users_ == Users::JudgedByPolkit && ruleOf(action).polkit == nullptr;
    return ours || readable ? passwordRule(action, caller) : notPermitted(action);
}

Refusal Authority::decideAtOnce(Action action, const QString &caller)
{
    uint user = 0;
    if (!knownUser(caller, user))
        return notPermitted(action);
    const Refusal flood = tooMany(user);
    return flood ? flood : ownRule(action, caller, user);
}

void Authority::decide(const Question &question, Decided decided)
{
    uint user = 0;
    if (!knownUser(question.caller, user)) {
        decided(notPermitted(question.action), user);
        return;
    }
    if (const Refusal flood = tooMany(user)) {
        decided(flood, user);
        return;
    }
    const Refusal refusal = ownRule(question.action, question.caller, user);
    const bool polkits =
        users_ == Users::JudgedByPolkit && user != 0 && ruleOf(question.action).polkit != nullptr;
    if (!polkits) {
        decided(refusal, user);
        return;
    }
    // Nobody is asked for an administrator's password where the other one is missing anyway.
    const Refusal password = passwordRule(question.action, question.caller);
    if (password)
        decided(password, user);
    else
        askPolkit(question, user, std::move(decided));
}

void Authority::askPolkit(const Question &question, uint user, Decided decided)
{
    if (waiting_[user] >= kMostWaiting) {
        decided({interface::kErrorLimit,
                 QStringLiteral("too many questions of this user wait for an administrator")},
                user);
        return;
    }
    ++waiting_[user];
    const auto answered = [this, question, user, decided](const PolkitAnswer &answer) {
        if (--waiting_[user] == 0)
            waiting_.erase(user);
        Refusal refusal;
        if (!answer.authorized) {
            refusal = notPermitted(question.action);
            if (!answer.failure.isEmpty())
                refusal.reason += QStringLiteral(" (") + answer.failure + QLatin1Char(')');
            log(Level::Warning, "user " + std::to_string(user) + " was refused: " +
                                    files::printable(refusal.reason.toStdString()));
        } else {
            // Much may have changed while a person was asked.
            refusal = passwordRule(question.action, question.caller);
        }
        decided(refusal, user);
    };
    service::askPolkit({bus_, question.caller, polkitAction(question.action),
                        question.mayAskPerson ? PolkitDialogue::Allowed : PolkitDialogue::Never},
                       this, answered);
}

} // namespace talo::service
