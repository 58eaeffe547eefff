// Saving all settings to "Settings.ini" and restoring them.
//
// The file is read and written with the rights of the calling process. Neither the password nor
// the USB setting travels. `folder` is a UTF-8 path without the file name. Any thread.
#pragma once

#include "engine/export.h"

class TALO_ENGINE_EXPORT libImportExportSetting
{
public:
    // Writes "Settings.ini" whole or not at all. Returns 0; 1 cannot be written or the service is
    // not reached.
    static int ExportSettings(char const *folder);

    // Makes every setting of "Settings.ini" current, or none of them. Returns 0; 1 missing or
    // unreadable; 2 not valid; 3 refused or the service is not reached.
    static int ImportSettings(char const *folder);
};
