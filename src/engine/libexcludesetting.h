// What scans leave out.
//
// Kinds: 401 a location (an absolute path; it excludes itself and all below it), 402 a file
// extension (without a dot, compared without case). Texts are UTF-8. Any thread.
#pragma once

#include "engine/export.h"

#include <string>

class TALO_ENGINE_EXPORT libExcludeSetting
{
public:
    // Adds one entry. Returns 0; 701 an extension with a dot or a space; 702 already there;
    // 703 empty, longer than 4,096 bytes, with a control character or a comma, or a location that
    // is not absolute; 704 refused or the service is not reached.
    static int AddExcludeSettings(std::string entry, int kind);

    // Removes the entry with exactly this text and kind. Returns 0; 705 no such entry;
    // 704 refused or the service is not reached.
    static int RemoveExcludeSetting(std::string entry, int kind);

    // Lists both kinds in the order of entry, each as texts joined by ",", with their numbers.
    // Returns 0, or 704 with empty lists when the service is not reached.
    static int GetExcludeScanList(std::string &locations, std::string &extensions,
                                  int *locationCount, int *extensionCount);
};
