#include "engine/notifysettingchange.h"

#include "client/boundary.h"
#include "client/bus.h"
#include "interface/names.h"

void NotifySettingChange()
{
    using namespace talo;
    client::guarded(0, [] {
        client::Bus::instance().call(interface::kSettings, "NotifyChange");
        return 0;
    });
}
