#include "engine/product_registration.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

#include <QDBusReply>

int product_registration(int operation)
{
    using namespace talo;
    constexpr int kNewPassword = 70;
    constexpr int kFailed = -1;
    if (operation != kNewPassword)
        return kFailed;
    return client::guarded(kFailed, [] {
        // A mail server takes its time.
        const QDBusReply<int> answer =
            client::Bus::instance().callPatiently(interface::kPassword, "Exists", "Reset");
        return answer.isValid() ? answer.value() : kFailed;
    });
}
