// Hands one message to a mail server.
#pragma once

#include "service/configuration.h"
#include "store/secret.h"

#include <atomic>

namespace talo::service
{

enum class MailResult {
    Accepted,    // the server has taken the message over
    Unreachable, // no way to the server
    Refused,     // the server said no
    Failed,      // anything else; whether the message arrives is not known
};

// A password never crosses a network in the clear: to a server on another machine the connection
// is encrypted, or it fails. Returns early with Failed once `stop` is set. `reason` says in words
// what went wrong.
MailResult sendMail(const MailSettings &settings, const store::Secret &message,
                    const std::atomic<bool> &stop, std::string &reason);

} // namespace talo::service
