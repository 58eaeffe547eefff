// Updates of the signatures and of the program.
//
// processchecks.h has the checks that go with them.
#pragma once

#include "engine/export.h"

// Smallest buffers, terminators included, that the two …Info operations write into.
enum UpdateInfoSize {
    SignatureVersionSize = 50,
    ProductVersionSize = 20,
    UpdateDateSize = 16,
    UpdateTimeSize = 16,
};

// Writes NUL-terminated UTF-8 texts into caller-owned, zero-filled buffers: the version of the
// signature set in use, the day "2026-11-21" and the time "14:05" (local) of its last update. What
// is not known stays empty. Any thread.
TALO_ENGINE_EXPORT void GetSigantureUpdateInfo(char *version, char *date, char *time);

// The same for the installed program.
TALO_ENGINE_EXPORT void GetProductUpdateInfo(char *version, char *date, char *time);

// Registers the function that start_sig_update() reports to, replacing the one before; null for
// none. Its arguments: total and remaining size in kilobytes, percentage 0 to 100, speed in
// kilobytes a second, status. Status under way: 0 preparing, 1 downloading, 5 checking,
// 6 installing; final: 2 done, 3 stopped by the user, 4 stopped by a fault, 7 already latest,
// 8 server unreachable. Called on the thread that runs start_sig_update(), at most ten times a
// second.
TALO_ENGINE_EXPORT void
register_callback(void (*callback)(long long totalSize, long long remainingSize, float percentage,
                                   int downloadSpeed, int status));

// Prepares an update run and writes its handle. Returns 0; 1 one runs already; 2 no source is
// configured; 3 refused or the service is not reached. Any thread.
TALO_ENGINE_EXPORT int initiate_sig_update(int *handle);

// Runs the prepared update to its end; blocks. Returns 0 whenever it has reported a final status,
// any other value where it has reported none.
TALO_ENGINE_EXPORT int start_sig_update(int handle);

// Asks a run to stop. Returns 0 stopped; 1 no such run, or too late. Any thread.
TALO_ENGINE_EXPORT int sig_update_stop(int handle);
