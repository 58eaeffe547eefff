// The settings password as callers deal with it.
#pragma once

#include "service/attempts.h"
#include "service/call.h"
#include "service/passwordreset.h"
#include "store/secret.h"

#include <QByteArray>

#include <memory>

namespace talo::service
{

class Callers;

// Lives on the service's main thread and answers the calls that it is given there; who may call is
// known by then.
class PasswordService : public QObject
{
    Q_OBJECT

public:
    PasswordService(store::PasswordStore &store, Callers &trusted,
                    const std::string &configurationFile);

    // Copied wherever it is needed and wiped with the last copy.
    using Secret = std::shared_ptr<const store::Secret>;
    // The bytes are wiped where they lie, in the message that they came with.
    static Secret take(const QByteArray &bytes);

    void exists(const Call &call);
    void protection(const Call &call);
    void setProtection(const Call &call, bool on);
    void validate(const Call &call, const Secret &password);
    void create(const Call &call, const Secret &password, const Secret &confirmation);
    void change(const Call &call, const Secret &current, const Secret &password,
                const Secret &confirmation);
    void reset(const Call &call);

private:
    void wasReplaced(const QString &by);
    void attempt(const Call &call, Attempts::Check check, Attempts::Done done);

    store::PasswordStore &store_;
    Callers &trusted_;
    unsigned replaced_ = 0; // how often the password was, in the service's life
    PasswordReset reset_;
    Attempts attempts_;
};

} // namespace talo::service
