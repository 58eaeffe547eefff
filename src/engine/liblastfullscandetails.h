// When the last full scan finished.
#pragma once

#include "engine/export.h"

class TALO_ENGINE_EXPORT libLastFullScanDetails
{
public:
    // Writes into `buffer` (caller-owned, zero-filled, at least 100 bytes) the local time at which
    // the last full scan finished, as NUL-terminated UTF-8 text such as "21 Nov 2026 14:05".
    // Leaves an empty text when no full scan has finished yet or the service is not reached.
    // Any thread.
    static void GetLastFullScanDetails(char *buffer);
};
