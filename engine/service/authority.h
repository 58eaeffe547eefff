// The one place that decides who may do what.
#pragma once

#include "service/callrate.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <map>

namespace talo::store
{
class PasswordStore;
}

namespace talo::service
{

class Callers;

// What a caller may ask for, one value for each kind that could be granted apart from the others.
// What each takes is in the table at the top of authority.cpp.
enum class Action {
    ReadStatus,
    StartScan,
    ControlScan, // pause, resume, stop
    WatchScan,
    ReadReports,
    DeleteReports,
    ReadQuarantine,
    RestoreFromQuarantine,
    PurgeQuarantine,
    ReadSettings, // exclusions too
    ChangeSettings,
    ChangeFirewallSetting,
    SwitchFirewall, // the running one
    ChangeDeviceControl,
    ChangeExclusions,
    ImportSettings,
    ReadSchedules,
    ChangeSchedules,
    ReadPassword, // whether there is one, and whether it guards
    ValidatePassword,
    CreatePassword,
    ChangePassword,
    ChangeProtection,
    ResetPassword,
    UpdateProgram,    // ask for a release too, and stop
    ReadUpdates,      // watching one too
    UpdateSignatures, // starting and stopping
    kEnd,             // stays the last
};

// Why a caller may not; without a reason it may.
struct Refusal {
    const char *error = nullptr; // one of the interface's names
    QString reason;
    explicit operator bool() const { return error != nullptr; }
};

// Lives on the service's main thread. Two things must agree, and where one cannot be found out the
// answer is no:
//
// The user. On the system bus, root may do everything, every local user may read, and polkit
// decides about the rest. On any other bus the service works for the user it runs as: that user
// and root may do everything, and nobody else anything.
//
// The settings password, whoever the user: while it guards the settings, what it guards can only
// be changed on a connection on which it was given.
class Authority : public QObject
{
    Q_OBJECT

public:
    enum class Users { JudgedByPolkit, OnlyOurOwn };
    Authority(Users users, const QDBusConnection &bus, store::PasswordStore &passwords,
              Callers &trusted);

    struct Question {
        Action action = Action::kEnd;
        QString caller;            // a unique bus name
        bool mayAskPerson = false; // an administrator may be asked for his own password
    };
    using Decided = std::function<void(const Refusal &, uint user)>;
    // Calls back at once, or when polkit has answered, which can take as long as a person takes.
    void decide(const Question &question, Decided decided);

    // For what polkit is not asked about; anything else is refused.
    Refusal decideAtOnce(Action action, const QString &caller);

    // The polkit action that an action takes; empty for none.
    static QString polkitAction(Action action);

private:
    Refusal tooMany(uint user);
    Refusal ownRule(Action action, const QString &caller, uint user) const;
    Refusal passwordRule(Action action, const QString &caller) const;
    bool knownUser(const QString &caller, uint &user) const;
    void askPolkit(const Question &question, uint user, Decided decided);

    Users users_;
    QDBusConnection bus_;
    store::PasswordStore &passwords_;
    Callers &trusted_;
    CallRate rate_;
    std::map<uint, unsigned> waiting_; // questions to polkit, of each user
};

} // namespace talo::service
