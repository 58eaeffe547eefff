// The protection settings.
//
// On/off settings are 1 and 0. Action codes: 301 disinfect, 302 disinfect and delete, 303 delete,
// 304 report only; a first action is one of 301 to 304, a second one of 302 to 304. Update
// frequency: 0 every hour, 1 every two, 2 every six, 3 every twenty-four. A value outside its range
// is refused and the store keeps what it has.
//
// Get… operations write the stored values and leave an output alone when the service is not
// reached. All return 0 for success, any other value for failure. Any thread.
#pragma once

#include "engine/export.h"

class TALO_ENGINE_EXPORT libSettings
{
public:
    static int GetGeneralSettings(int *scanPacked, int *scanArchive);
    static int ApplyGeneralSettings(int scanPacked, int scanArchive);
    static int ApplyDefaultGeneralSetting();

    static int GetScanActionSettings(int *infectedFirst, int *infectedSecond, int *suspectedFirst,
                                     int *suspectedSecond, int *hiddenFirst, int *hiddenSecond);
    static int ApplyScanActionSettings(int infectedFirst, int infectedSecond, int suspectedFirst,
                                       int suspectedSecond, int hiddenFirst, int hiddenSecond);
    static int ApplyDefaultScanActionSetting();

    static int GetExternalDriveSettings(int *scanOnArrival);
    static int ApplyExternalDriveSettings(int scanOnArrival);
    static int ApplyDefaultExternalDriveSetting();

    // The firewall setting as stored; Firewall::TriggerFirewall switches the firewall itself.
    static int GetFirewallSetting(int *on);
    static int ApplyFirewallSetting(int on);
    static int ApplyDefaultFirewallSettings();

    static int GetUpdateSettings(int *automatic, int *frequency);
    static int ApplyUpdateSettings(int automatic, int frequency);
    static int ApplyDefaultUpdateSettings();

    // USB storage: 0 full access, 1 blocked. Changing it needs a validated password.
    static int GetDeviceControlSetting(int *blocked);
    static int ApplyDeviceControlSetting(int blocked);
};
