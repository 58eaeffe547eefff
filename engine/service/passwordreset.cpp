#include "service/passwordreset.h"

#include "files/printable.h"
#include "service/configuration.h"
#include "service/log.h"
#include "service/mail.h"
#include "store/passwordstore.h"

#include <QDateTime>
#include <QSysInfo>
#include <QUuid>

namespace talo::service
{

namespace
{

using Outcome = PasswordReset::Outcome;

std::string thisMachine()
{
    const std::string name = files::printable(QSysInfo::machineHostName().toStdString());
    return name.empty() ? "this computer" : name;
}

// Lines end as mail has them.
store::Secret write(const MailSettings &settings, const store::Secret &password)
{
    const std::string domain = settings.from.substr(settings.from.find('@') + 1);
    std::string text =
        "Date: " + QDateTime::currentDateTime().toString(Qt::RFC2822Date).toStdString() +
        "\r\nFrom: TALO Antivirus <" + settings.from + ">\r\nTo: <" + settings.to +
        ">\r\nMessage-ID: <" + QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString() +
        '@' + domain +
        ">\r\nSubject: Your new TALO Antivirus settings password\r\nMIME-Version: 1.0\r\n"
        "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: 8bit\r\n\r\n"
        "A new settings password for TALO Antivirus was asked for on " +
        thisMachine() + ":\r\n\r\n    ";
    constexpr std::string_view kEnd =
        "\r\n\r\nThe old one is no longer valid. You can choose another under Settings, Manage "
        "Password.\r\n";
    // Room for all of it beforehand: growing would leave the password behind.
    text.reserve(text.size() + password.view().size() + kEnd.size());
    text.append(password.view()).append(kEnd);
    store::Secret message(text);
    store::wipe(text.data(), text.size());
    return message;
}

Outcome outcomeOf(MailResult result)
{
    switch (result) {
    case MailResult::Accepted:
        return Outcome::Sent;
    case MailResult::Unreachable:
        return Outcome::Unreachable;
    case MailResult::Refused:
        return Outcome::Refused;
    case MailResult::Failed:
        break;
    }
    return Outcome::Failed;
}

} // namespace

PasswordReset::PasswordReset(store::PasswordStore &store, std::string configurationFile)
    : store_(store), configurationFile_(std::move(configurationFile))
{
    thread_.setMaxThreadCount(1);
}

PasswordReset::~PasswordReset()
{
    stop_ = true;
    thread_.waitForDone();
}

bool PasswordReset::begin(std::function<void(Outcome)> done)
{
    if (busy_ || std::chrono::steady_clock::now() < free_)
        return false;
    busy_ = true;
    thread_.start([this, done = std::move(done)] {
        const Outcome outcome = run();
        QMetaObject::invokeMethod(
            this,
            [this, outcome, done] {
                busy_ = false;
                if (outcome == Outcome::Sent)
                    free_ = std::chrono::steady_clock::now() + kBetweenMails;
                done(outcome);
            },
            Qt::QueuedConnection);
    });
    return true;
}

PasswordReset::Outcome PasswordReset::run() const
{
    std::string failure;
    const auto settings = readMailSettings(configurationFile_, failure);
    if (!settings) {
        log(Level::Warning, "no new password can be mailed: " + files::printable(failure));
        return Outcome::Nothing;
    }
    const auto exists = store_.exists();
    if (exists != store::PasswordStore::Answer::Yes)
        return exists == store::PasswordStore::Answer::No ? Outcome::Nothing : Outcome::Failed;
    const store::Secret password = store::randomPassword();
    // Made before the mail is: it is the only step of storing that may take long or want memory.
    const std::string hash = store::hashPassword(password);
    if (hash.empty()) {
        log(Level::Error, "no new password can be made: memory is short");
        return Outcome::Failed;
    }
    const MailResult result = sendMail(*settings, write(*settings, password), stop_, failure);
    if (result == MailResult::Accepted)
        return store(hash);
    log(Level::Warning, "the mail with the new password was not sent, the old one stays: " +
                            files::printable(failure));
    return outcomeOf(result);
}

PasswordReset::Outcome PasswordReset::store(const std::string &hash) const
{
    if (store_.replace(hash))
        return Outcome::Sent;
    log(Level::Error, "the mailed password cannot be stored: the old one stays valid, and the "
                      "mail is to be ignored");
    return Outcome::Failed;
}

} // namespace talo::service
