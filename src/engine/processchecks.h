// Checks on running processes and on the network.
//
// Every operation may be called from any thread and throws nothing.
#pragma once

#include "engine/export.h"

// Claims `name` (a short ASCII word such as "TaloAntivirus") for this process and this user by an
// exclusive lock file in $XDG_RUNTIME_DIR, or in a private folder below /tmp whose owner and mode
// are checked. The lock is held until the process ends. Needs no bus and no application object.
// Returns non-zero when this process may go on: the name is now its own, or the lock could not be
// judged at all (a fault must not lock the user out). Returns 0 when another live process of this
// user holds the name. A null or empty name counts as a fault.
TALO_ENGINE_EXPORT int IsTaloAVRunning(char const *name);

// Tells whether a scan may be launched. `kind` is "FullScan", "QuickScan" or "CustomScan".
// Returns -2 when four jobs run, whatever the kind; otherwise 0 when a job of this kind runs,
// otherwise 1. Also 1 when the service is not reached: the started program explains the fault.
TALO_ENGINE_EXPORT int IsProcessRunning(char const *kind);

// Tells whether an update may be started: `kind` is "TaloAntivirus_S" (signatures) or
// "TaloAntivirus_P" (program). Returns 0 when an update of this kind runs, 1 when none does.
TALO_ENGINE_EXPORT int IsProductUpdateRunning(char const *kind);

// Returns -1 when the machine has no usable network connection, otherwise 1.
TALO_ENGINE_EXPORT int IsInternetAvailable();
