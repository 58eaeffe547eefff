#include "engine/firewall.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

int Firewall::TriggerFirewall(int state)
{
    using namespace talo;
    constexpr int kFailed = 1;
    return client::guarded(kFailed, [state] {
        const QDBusMessage answer =
            client::Bus::instance().call(interface::kFirewall, "Trigger", {state});
        return answer.type() == QDBusMessage::ReplyMessage ? 0 : kFailed;
    });
}
