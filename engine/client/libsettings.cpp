// Every scan works with these defaults; there is no store of settings that could change them, so
// every change is refused.
#include "engine/libsettings.h"

namespace
{

constexpr int kDone = 0;
constexpr int kRefused = 1;

constexpr int kDisinfect = 301;
constexpr int kDelete = 303;
constexpr int kReportOnly = 304;
constexpr int kEverySixHours = 2;

void answer(int *output, int value)
{
    if (output != nullptr)
        *output = value;
}

} // namespace

int libSettings::GetGeneralSettings(int *scanPacked, int *scanArchive)
{
    answer(scanPacked, 1);
    answer(scanArchive, 1);
    return kDone;
}

int libSettings::ApplyGeneralSettings([[maybe_unused]] int scanPacked,
                                      [[maybe_unused]] int scanArchive)
{
    return kRefused;
}

int libSettings::ApplyDefaultGeneralSetting()
{
    return kRefused;
}

int libSettings::GetScanActionSettings(int *infectedFirst, int *infectedSecond, int *suspectedFirst,
                                       int *suspectedSecond, int *hiddenFirst, int *hiddenSecond)
{
    answer(infectedFirst, kDisinfect);
    answer(infectedSecond, kDelete);
    answer(suspectedFirst, kReportOnly);
    answer(suspectedSecond, kReportOnly);
    answer(hiddenFirst, kDisinfect);
    answer(hiddenSecond, kDelete);
    return kDone;
}

int libSettings::ApplyScanActionSettings([[maybe_unused]] int infectedFirst,
                                         [[maybe_unused]] int infectedSecond,
                                         [[maybe_unused]] int suspectedFirst,
                                         [[maybe_unused]] int suspectedSecond,
                                         [[maybe_unused]] int hiddenFirst,
                                         [[maybe_unused]] int hiddenSecond)
{
    return kRefused;
}

int libSettings::ApplyDefaultScanActionSetting()
{
    return kRefused;
}

int libSettings::GetExternalDriveSettings(int *scanOnArrival)
{
    answer(scanOnArrival, 1);
    return kDone;
}

int libSettings::ApplyExternalDriveSettings([[maybe_unused]] int scanOnArrival)
{
    return kRefused;
}

int libSettings::ApplyDefaultExternalDriveSetting()
{
    return kRefused;
}

// Off until the user applies it.
int libSettings::GetFirewallSetting(int *on)
{
    answer(on, 0);
    return kDone;
}

int libSettings::ApplyFirewallSetting([[maybe_unused]] int on)
{
    return kRefused;
}

int libSettings::ApplyDefaultFirewallSettings()
{
    return kRefused;
}

int libSettings::GetUpdateSettings(int *automatic, int *frequency)
{
    answer(automatic, 1);
    answer(frequency, kEverySixHours);
    return kDone;
}

int libSettings::ApplyUpdateSettings([[maybe_unused]] int automatic, [[maybe_unused]] int frequency)
{
    return kRefused;
}

int libSettings::ApplyDefaultUpdateSettings()
{
    return kRefused;
}

int libSettings::GetDeviceControlSetting(int *blocked)
{
    answer(blocked, 0);
    return kDone;
}

int libSettings::ApplyDeviceControlSetting([[maybe_unused]] int blocked)
{
    return kRefused;
}
