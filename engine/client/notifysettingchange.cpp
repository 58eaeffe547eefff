#include "engine/notifysettingchange.h"

// Settings do not change yet, so there is nothing that a running part would have to take up.
void NotifySettingChange() {}
