// Every operation of the engine, answered by the script.
#include "engine/firewall.h"
#include "engine/libduplicatefinder.h"
#include "engine/libexcludesetting.h"
#include "engine/libimportexportsetting.h"
#include "engine/liblastfullscandetails.h"
#include "engine/libpassword.h"
#include "engine/libreports.h"
#include "engine/libschedulescan.h"
#include "engine/libsettings.h"
#include "engine/libshred.h"
#include "engine/notifysettingchange.h"
#include "engine/processchecks.h"
#include "engine/product_registration.h"
#include "engine/updates.h"
#include "support/scriptedengine.h"

#include <cstring>

namespace
{

using talo::test::Answer;

constexpr std::size_t kLastFullScanSize = 100;

std::string text(const char *value)
{
    return value ? value : "";
}

std::string text(const std::string &value)
{
    return value;
}

std::string text(int value)
{
    return std::to_string(value);
}

template <typename... Arguments> Answer take(const char *function, const Arguments &...arguments)
{
    return talo::test::ScriptedEngine::instance().take(function, {text(arguments)...});
}

template <typename... Outputs> int fillTexts(const Answer &answer, Outputs &...outputs)
{
    std::size_t next = 0;
    const auto fill = [&](std::string &output) {
        if (next < answer.texts.size()) {
            output = answer.texts[next++];
        }
    };
    (fill(outputs), ...);
    return answer.code;
}

template <typename... Outputs> int fillNumbers(const Answer &answer, Outputs *...outputs)
{
    std::size_t next = 0;
    const auto fill = [&](auto *output) {
        if (next < answer.numbers.size()) {
            *output = static_cast<std::remove_pointer_t<decltype(output)>>(answer.numbers[next++]);
        }
    };
    (fill(outputs), ...);
    return answer.code;
}

// A text that is too long is cut, as the engine cuts it: at the end of the caller's buffer.
void fillBuffer(const Answer &answer, std::size_t index, char *buffer, std::size_t size)
{
    if (index < answer.texts.size()) {
        std::strncpy(buffer, answer.texts[index].c_str(), size - 1);
        buffer[size - 1] = '\0';
    }
}

void fillUpdateInfo(const Answer &answer, char *version, std::size_t versionSize, char *date,
                    char *time)
{
    fillBuffer(answer, 0, version, versionSize);
    fillBuffer(answer, 1, date, UpdateDateSize);
    fillBuffer(answer, 2, time, UpdateTimeSize);
}

} // namespace

int IsTaloAVRunning(char const *name)
{
    return take("IsTaloAVRunning", name).code;
}

int IsProcessRunning(char const *kind)
{
    return take("IsProcessRunning", kind).code;
}

int IsProductUpdateRunning(char const *kind)
{
    return take("IsProductUpdateRunning", kind).code;
}

int IsInternetAvailable()
{
    return take("IsInternetAvailable").code;
}

int product_registration(int operation)
{
    return take("product_registration", operation).code;
}

void NotifySettingChange()
{
    take("NotifySettingChange");
}

int Firewall::TriggerFirewall(int state)
{
    return take("Firewall::TriggerFirewall", state).code;
}

void libLastFullScanDetails::GetLastFullScanDetails(char *buffer)
{
    fillBuffer(take("libLastFullScanDetails::GetLastFullScanDetails"), 0, buffer,
               kLastFullScanSize);
}

int libShred::shred(char const *path, long long *progress)
{
    const Answer answer = take("libShred::shred", path);
    return progress ? fillNumbers(answer, progress) : answer.code;
}

int libImportExportSetting::ExportSettings(char const *folder)
{
    return take("libImportExportSetting::ExportSettings", folder).code;
}

int libImportExportSetting::ImportSettings(char const *folder)
{
    return take("libImportExportSetting::ImportSettings", folder).code;
}

int libPassword::IsPasswordExists()
{
    return take("libPassword::IsPasswordExists").code;
}

int libPassword::getPwdProtectionStaus()
{
    return take("libPassword::getPwdProtectionStaus").code;
}

int libPassword::modifyPwdProtectionStatus(int on)
{
    return take("libPassword::modifyPwdProtectionStatus", on).code;
}

int libPassword::ValidatePassword(std::string password)
{
    return take("libPassword::ValidatePassword", password).code;
}

int libPassword::createpass(std::string password, std::string confirmation, int reserved)
{
    return take("libPassword::createpass", password, confirmation, reserved).code;
}

int libPassword::modifyPassword(std::string current, std::string password, std::string confirmation)
{
    return take("libPassword::modifyPassword", current, password, confirmation).code;
}

int libReports::GetReportList(std::string &list, std::string from, std::string to, int *count)
{
    const Answer answer = take("libReports::GetReportList", from, to);
    fillTexts(answer, list);
    return fillNumbers(answer, count);
}

int libReports::GetReportData(std::string key, std::string &date, std::string &time,
                              std::string &reportText, std::string &type)
{
    return fillTexts(take("libReports::GetReportData", key), date, time, reportText, type);
}

int libReports::DeleteReport(std::string key)
{
    return take("libReports::DeleteReport", key).code;
}

int libReports::SaveReport(std::string folderPath, std::string reportText)
{
    return take("libReports::SaveReport", folderPath, reportText).code;
}

int libExcludeSetting::AddExcludeSettings(std::string entry, int kind)
{
    return take("libExcludeSetting::AddExcludeSettings", entry, kind).code;
}

int libExcludeSetting::RemoveExcludeSetting(std::string entry, int kind)
{
    return take("libExcludeSetting::RemoveExcludeSetting", entry, kind).code;
}

int libExcludeSetting::GetExcludeScanList(std::string &locations, std::string &extensions,
                                          int *locationCount, int *extensionCount)
{
    const Answer answer = take("libExcludeSetting::GetExcludeScanList");
    fillTexts(answer, locations, extensions);
    return fillNumbers(answer, locationCount, extensionCount);
}

int libScheduleScan::GetScheduleList(std::string &list, int *count)
{
    const Answer answer = take("libScheduleScan::GetScheduleList");
    fillTexts(answer, list);
    return fillNumbers(answer, count);
}

int libScheduleScan::RemoveScheduleScan(char const *name)
{
    return take("libScheduleScan::RemoveScheduleScan", name).code;
}

int libScheduleScan::GetScheduleScanDetails(char const *name, int *type, int *weekday, int *hour,
                                            int *minute)
{
    return fillNumbers(take("libScheduleScan::GetScheduleScanDetails", name), type, weekday, hour,
                       minute);
}

int libScheduleScan::AddScheduleScan(char const *name, int type, int frequency, int weekday,
                                     int hour, int minute)
{
    return take("libScheduleScan::AddScheduleScan", name, type, frequency, weekday, hour, minute)
        .code;
}

int libScheduleScan::EditScheduleScan(char const *oldName, char const *newName, int type,
                                      int frequency, int weekday, int hour, int minute)
{
    return take("libScheduleScan::EditScheduleScan", oldName, newName, type, frequency, weekday,
                hour, minute)
        .code;
}

int libSettings::GetGeneralSettings(int *scanPacked, int *scanArchive)
{
    return fillNumbers(take("libSettings::GetGeneralSettings"), scanPacked, scanArchive);
}

int libSettings::ApplyGeneralSettings(int scanPacked, int scanArchive)
{
    return take("libSettings::ApplyGeneralSettings", scanPacked, scanArchive).code;
}

int libSettings::ApplyDefaultGeneralSetting()
{
    return take("libSettings::ApplyDefaultGeneralSetting").code;
}

int libSettings::GetScanActionSettings(int *infectedFirst, int *infectedSecond, int *suspectedFirst,
                                       int *suspectedSecond, int *hiddenFirst, int *hiddenSecond)
{
    return fillNumbers(take("libSettings::GetScanActionSettings"), infectedFirst, infectedSecond,
                       suspectedFirst, suspectedSecond, hiddenFirst, hiddenSecond);
}

int libSettings::ApplyScanActionSettings(int infectedFirst, int infectedSecond, int suspectedFirst,
                                         int suspectedSecond, int hiddenFirst, int hiddenSecond)
{
    return take("libSettings::ApplyScanActionSettings", infectedFirst, infectedSecond,
                suspectedFirst, suspectedSecond, hiddenFirst, hiddenSecond)
        .code;
}

int libSettings::ApplyDefaultScanActionSetting()
{
    return take("libSettings::ApplyDefaultScanActionSetting").code;
}

int libSettings::GetExternalDriveSettings(int *scanOnArrival)
{
    return fillNumbers(take("libSettings::GetExternalDriveSettings"), scanOnArrival);
}

int libSettings::ApplyExternalDriveSettings(int scanOnArrival)
{
    return take("libSettings::ApplyExternalDriveSettings", scanOnArrival).code;
}

int libSettings::ApplyDefaultExternalDriveSetting()
{
    return take("libSettings::ApplyDefaultExternalDriveSetting").code;
}

int libSettings::GetFirewallSetting(int *on)
{
    return fillNumbers(take("libSettings::GetFirewallSetting"), on);
}

int libSettings::ApplyFirewallSetting(int on)
{
    return take("libSettings::ApplyFirewallSetting", on).code;
}

int libSettings::ApplyDefaultFirewallSettings()
{
    return take("libSettings::ApplyDefaultFirewallSettings").code;
}

int libSettings::GetUpdateSettings(int *automatic, int *frequency)
{
    return fillNumbers(take("libSettings::GetUpdateSettings"), automatic, frequency);
}

int libSettings::ApplyUpdateSettings(int automatic, int frequency)
{
    return take("libSettings::ApplyUpdateSettings", automatic, frequency).code;
}

int libSettings::ApplyDefaultUpdateSettings()
{
    return take("libSettings::ApplyDefaultUpdateSettings").code;
}

int libSettings::GetDeviceControlSetting(int *blocked)
{
    return fillNumbers(take("libSettings::GetDeviceControlSetting"), blocked);
}

int libSettings::ApplyDeviceControlSetting(int blocked)
{
    return take("libSettings::ApplyDeviceControlSetting", blocked).code;
}

void libDuplicateFinder::register_callback(void (*callback)(char *path))
{
    talo::test::ScriptedEngine::instance().keep(callback);
    take("libDuplicateFinder::register_callback", callback ? "function" : "null");
}

int libDuplicateFinder::DuplicateFinder(std::string folder,
                                        std::map<std::string, std::list<std::string>> &result,
                                        int mode, long long *fileCount, long long *totalBytes)
{
    const Answer answer = take("libDuplicateFinder::DuplicateFinder", folder, mode);
    result = answer.groups.value_or(result);
    return fillNumbers(answer, fileCount, totalBytes);
}

int libDuplicateFinder::DeleteDuplicateFiles(std::list<std::string> files,
                                             std::map<std::string, std::list<std::string>> &result,
                                             int *deletedCount)
{
    const Answer answer = talo::test::ScriptedEngine::instance().take(
        "libDuplicateFinder::DeleteDuplicateFiles", {files.begin(), files.end()});
    result = answer.groups.value_or(result);
    return fillNumbers(answer, deletedCount);
}

void GetSigantureUpdateInfo(char *version, char *date, char *time)
{
    fillUpdateInfo(take("GetSigantureUpdateInfo"), version, SignatureVersionSize, date, time);
}

void GetProductUpdateInfo(char *version, char *date, char *time)
{
    fillUpdateInfo(take("GetProductUpdateInfo"), version, ProductVersionSize, date, time);
}

void register_callback(void (*callback)(long long totalSize, long long remainingSize,
                                        float percentage, int downloadSpeed, int status))
{
    talo::test::ScriptedEngine::instance().keep(callback);
    take("register_callback", callback ? "function" : "null");
}

int initiate_sig_update(int *handle)
{
    return fillNumbers(take("initiate_sig_update"), handle);
}

int start_sig_update(int handle)
{
    return take("start_sig_update", handle).code;
}

int sig_update_stop(int handle)
{
    return take("sig_update_stop", handle).code;
}
