#include "service/passwordservice.h"

#include "interface/names.h"
#include "service/callers.h"
#include "service/log.h"
#include "store/passwordstore.h"

namespace talo::service
{

namespace
{

using Answer = store::PasswordStore::Answer;
using Change = store::PasswordStore::Change;
using Verdict = Attempts::Verdict;

void answer(const Call &call, Answer answer)
{
    if (answer == Answer::Failed)
        call.refuse(interface::kErrorFailed,
                    QStringLiteral("the password's record cannot be used; the log says why"));
    else
        call.answer({answer == Answer::Yes});
}

void answer(const Call &call, Change change)
{
    if (change == Change::Failed)
        call.refuse(interface::kErrorFailed,
                    QStringLiteral("the password cannot be stored; the log says why"));
    else
        call.answer({static_cast<int>(change)});
}

void tellOf(uint user, const char *what)
{
    log(Level::Info, "user " + std::to_string(user) + ' ' + what);
}

void tellOfWrong(uint user)
{
    log(Level::Warning, "user " + std::to_string(user) + " gave a wrong settings password");
}

} // namespace

PasswordService::PasswordService(store::PasswordStore &store, Callers &trusted,
                                 const std::string &configurationFile)
    : store_(store), trusted_(trusted), reset_(store, configurationFile), attempts_(store)
{
}

PasswordService::Secret PasswordService::take(const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    Secret secret =
        std::make_shared<const store::Secret>(std::string_view(bytes.constData(), size));
    // Not data(), which would leave this copy to the message and wipe another.
    store::wipe(const_cast<char *>(bytes.constData()), size);
    return secret;
}

void PasswordService::exists(const Call &call)
{
    answer(call, store_.exists());
}

void PasswordService::protection(const Call &call)
{
    answer(call, store_.isProtected());
}

void PasswordService::setProtection(const Call &call, bool on)
{
    if (on && store_.exists() != Answer::Yes) {
        call.refuse(interface::kErrorNotFound,
                    QStringLiteral("there is no password that could guard the settings"));
        return;
    }
    if (!store_.setProtected(on)) {
        answer(call, Answer::Failed);
        return;
    }
    tellOf(call.user, on ? "switched the protection of the settings on"
                         : "switched the protection of the settings off");
    call.answer();
}

void PasswordService::wasReplaced(const QString &by)
{
    ++replaced_;
    trusted_.forgetAllBut(by);
}

void PasswordService::attempt(const Call &call, Attempts::Check check, Attempts::Done done)
{
    if (!attempts_.add(call.user, std::move(check), std::move(done)))
        call.refuse(interface::kErrorLimit,
                    QStringLiteral("too many passwords of this user wait to be checked"));
}

void PasswordService::validate(const Call &call, const Secret &password)
{
    const auto result = std::make_shared<Answer>(Answer::Failed);
    attempt(
        call,
        [this, password, result] {
            *result = store_.matches(*password);
            if (*result == Answer::Yes)
                return Verdict::Right;
            // Where there is no password none can be guessed.
            const bool wrong = *result == Answer::No && store_.exists() != Answer::No;
            return wrong ? Verdict::Wrong : Verdict::Neither;
        },
        [this, call, result, before = replaced_](Verdict verdict) {
            // What was right when it was looked at may have been replaced since.
            if (verdict == Verdict::Right && before != replaced_)
                *result = Answer::No;
            else if (verdict == Verdict::Right)
                trusted_.add(call.caller());
            else if (verdict == Verdict::Wrong)
                tellOfWrong(call.user);
            answer(call, *result);
        });
}

void PasswordService::create(const Call &call, const Secret &password, const Secret &confirmation)
{
    const auto result = std::make_shared<Change>(Change::Failed);
    attempt(
        call,
        [this, password, confirmation, result] {
            *result = store_.create(*password, *confirmation);
            return Verdict::Neither;
        },
        [call, result](Verdict) {
            if (*result == Change::Done)
                tellOf(call.user, "created the settings password");
            answer(call, *result);
        });
}

void PasswordService::change(const Call &call, const Secret &current, const Secret &password,
                             const Secret &confirmation)
{
    const auto result = std::make_shared<Change>(Change::Failed);
    attempt(
        call,
        [this, current, password, confirmation, result] {
            *result = store_.change(*current, *password, *confirmation);
            if (*result == Change::Failed)
                return Verdict::Neither;
            if (*result != Change::Refused)
                return Verdict::Right;
            return store_.exists() == Answer::No ? Verdict::Neither : Verdict::Wrong;
        },
        [this, call, result](Verdict verdict) {
            if (verdict == Verdict::Wrong)
                tellOfWrong(call.user);
            if (*result == Change::Done) {
                wasReplaced(call.caller());
                tellOf(call.user, "changed the settings password");
            }
            answer(call, *result);
        });
}

void PasswordService::reset(const Call &call)
{
    const bool begun = reset_.begin([this, call](PasswordReset::Outcome outcome) {
        if (outcome == PasswordReset::Outcome::Sent) {
            wasReplaced(QString());
            tellOf(call.user, "had a new settings password mailed");
        }
        call.answer({static_cast<int>(outcome)});
    });
    if (!begun)
        call.refuse(interface::kErrorLimit,
                    QStringLiteral("a new password is being mailed, or was a moment ago"));
}

} // namespace talo::service
