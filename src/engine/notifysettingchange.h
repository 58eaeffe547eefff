// Word to the engine that stored settings have changed.
#pragma once

#include "engine/export.h"

// Asks the engine's running parts (timers, watchers, workers) to take up the stored settings.
// Nothing is reported back; without a service nothing happens. Any thread.
TALO_ENGINE_EXPORT void NotifySettingChange();
