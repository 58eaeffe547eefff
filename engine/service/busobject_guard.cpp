// The bus object's methods for what guards the machine itself.
#include "interface/names.h"
#include "service/busobject.h"
#include "service/guardservice.h"

namespace talo::service
{

void BusObject::Trigger(int state)
{
    constexpr int kOn = 1;
    constexpr int kOff = 2;
    whenPermitted(Action::SwitchFirewall, [this, state](const Call &call) {
        if (state != kOn && state != kOff) {
            call.refuse(interface::kErrorInvalid,
                        QStringLiteral("the firewall can be switched on (1) and off (2)"));
            return;
        }
        const GuardService::Refusal refusal = rooms_.guards.trigger(
            state == kOn ? GuardService::Firewall::On : GuardService::Firewall::Off);
        if (refusal.error != nullptr)
            call.refuse(refusal.error, refusal.reason);
        else
            call.answer();
    });
}

} // namespace talo::service
