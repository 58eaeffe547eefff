// libtaloengine.so in a process without a bus and without an application object: every operation
// answers at once.
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
#include "taloversion.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

namespace
{

class WithoutBus : public testing::Test
{
protected:
    void SetUp() override
    {
        // Nothing of the machine that runs the tests may be found.
        unsetenv("TALO_BUS");
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        unsetenv("XDG_RUNTIME_DIR");
        setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no/such/bus", 1);
        began_ = std::chrono::steady_clock::now();
    }
    void TearDown() override
    {
        // Nothing was waited for: that takes five seconds.
        EXPECT_LT(std::chrono::steady_clock::now() - began_, std::chrono::seconds(4));
    }

private:
    std::chrono::steady_clock::time_point began_;
};

} // namespace

TEST_F(WithoutBus, ScansMayBeLaunched)
{
    // The launched program explains what is wrong.
    for (const char *kind : {"FullScan", "QuickScan", "CustomScan", "", "nonsense"})
        EXPECT_EQ(IsProcessRunning(kind), 1);
    EXPECT_EQ(IsProcessRunning(nullptr), 1);
    EXPECT_EQ(IsProductUpdateRunning("TaloAntivirus_S"), 1);
    EXPECT_EQ(IsProductUpdateRunning("TaloAntivirus_P"), 1);
}

TEST_F(WithoutBus, ReportsCannotBeReached)
{
    std::string list = "old";
    int count = 7;
    EXPECT_EQ(libReports::GetReportList(list, "", "", &count), 201);
    EXPECT_EQ(list, "");
    EXPECT_EQ(count, 0);
    std::string date = "old";
    std::string time = "old";
    std::string text = "old";
    std::string type = "old";
    EXPECT_EQ(libReports::GetReportData("2026-11-21 14:05:09", date, time, text, type), 201);
    EXPECT_EQ(date + time + text + type, "");
    EXPECT_EQ(libReports::DeleteReport("2026-11-21 14:05:09"), 201);
    char when[100] = "old";
    libLastFullScanDetails::GetLastFullScanDetails(when);
    EXPECT_STREQ(when, "");
    libLastFullScanDetails::GetLastFullScanDetails(nullptr);
}

TEST_F(WithoutBus, UpdatesAreRefused)
{
    char version[SignatureVersionSize] = "old";
    char date[UpdateDateSize] = "old";
    char time[UpdateTimeSize] = "old";
    GetSigantureUpdateInfo(version, date, time);
    EXPECT_STREQ(version, "");
    EXPECT_STREQ(date, "");
    EXPECT_STREQ(time, "");
    int handle = 7;
    EXPECT_EQ(initiate_sig_update(&handle), 3);
    EXPECT_NE(start_sig_update(handle), 0);
    EXPECT_EQ(sig_update_stop(handle), 1);
    register_callback(nullptr);
}

TEST_F(WithoutBus, TheProgramKnowsItsVersion)
{
    char version[ProductVersionSize] = "old";
    char date[UpdateDateSize] = "old";
    char time[UpdateTimeSize] = "old";
    GetProductUpdateInfo(version, date, time);
    EXPECT_STREQ(version, TALO_VERSION);
    EXPECT_EQ(std::string(date).size(), 10U);
    EXPECT_EQ(std::string(time).size(), 5U);
}

TEST_F(WithoutBus, SettingsAreLeftAloneAndRefuseChanges)
{
    int a = 7;
    for (const int got :
         {libSettings::GetGeneralSettings(&a, &a),
          libSettings::GetScanActionSettings(&a, &a, &a, &a, &a, &a),
          libSettings::GetExternalDriveSettings(&a), libSettings::GetFirewallSetting(&a),
          libSettings::GetUpdateSettings(&a, &a), libSettings::GetDeviceControlSetting(&a),
          libSettings::GetDeviceControlSetting(nullptr)})
        EXPECT_NE(got, 0);
    EXPECT_EQ(a, 7);
    for (const int applied :
         {libSettings::ApplyGeneralSettings(1, 1), libSettings::ApplyDefaultGeneralSetting(),
          libSettings::ApplyScanActionSettings(301, 303, 304, 304, 301, 303),
          libSettings::ApplyDefaultScanActionSetting(), libSettings::ApplyExternalDriveSettings(1),
          libSettings::ApplyDefaultExternalDriveSetting(), libSettings::ApplyFirewallSetting(1),
          libSettings::ApplyDefaultFirewallSettings(), libSettings::ApplyUpdateSettings(1, 2),
          libSettings::ApplyDefaultUpdateSettings(), libSettings::ApplyDeviceControlSetting(1),
          Firewall::TriggerFirewall(1), Firewall::TriggerFirewall(2)})
        EXPECT_NE(applied, 0);
    NotifySettingChange();
}

TEST_F(WithoutBus, ListsAreEmptyAndRefuseEntries)
{
    std::string list = "old";
    std::string other = "old";
    int count = 7;
    int otherCount = 7;
    EXPECT_EQ(libExcludeSetting::GetExcludeScanList(list, other, &count, &otherCount), 704);
    EXPECT_EQ(list + other, "");
    EXPECT_EQ(count + otherCount, 0);
    EXPECT_EQ(libExcludeSetting::AddExcludeSettings("/srv", 401), 704);
    EXPECT_EQ(libExcludeSetting::RemoveExcludeSetting("/srv", 401), 704);
    list = "old";
    EXPECT_EQ(libScheduleScan::GetScheduleList(list, &count), 608);
    EXPECT_EQ(list, "");
    EXPECT_EQ(count, 0);
    EXPECT_EQ(libScheduleScan::AddScheduleScan("night", 1, 501, 8, 1, 0), 608);
    EXPECT_EQ(libScheduleScan::EditScheduleScan("night", "noon", 1, 501, 8, 12, 0), 608);
    EXPECT_EQ(libScheduleScan::RemoveScheduleScan("night"), 608);
    int type = 7;
    EXPECT_EQ(libScheduleScan::GetScheduleScanDetails("night", &type, &type, &type, &type), 608);
    EXPECT_EQ(type, 7);
}

TEST_F(WithoutBus, NoPasswordExists)
{
    EXPECT_EQ(libPassword::IsPasswordExists(), 1);
    EXPECT_EQ(libPassword::getPwdProtectionStaus(), 0);
    EXPECT_NE(libPassword::ValidatePassword(""), 0);
    EXPECT_NE(libPassword::modifyPwdProtectionStatus(1), 0);
    EXPECT_EQ(libPassword::createpass("secret", "secret", 0), 3);
    EXPECT_EQ(libPassword::modifyPassword("secret", "secret2", "secret2"), 3);
    EXPECT_EQ(product_registration(70), -1);
    EXPECT_EQ(product_registration(71), -1);
    EXPECT_EQ(libImportExportSetting::ExportSettings("/tmp"), 1);
    EXPECT_EQ(libImportExportSetting::ImportSettings("/no/such/folder"), 1);
}

// What concerns the caller's own files needs no service.
TEST_F(WithoutBus, WrongFilesAreRefused)
{
    std::map<std::string, std::list<std::string>> result{{"old", {}}};
    long long files = 7;
    long long bytes = 7;
    EXPECT_EQ(libDuplicateFinder::DuplicateFinder("/no/such/folder", result, 1, &files, &bytes),
              804);
    EXPECT_TRUE(result.empty());
    EXPECT_EQ(files + bytes, 0);
    int deleted = 7;
    EXPECT_EQ(libDuplicateFinder::DeleteDuplicateFiles({"/etc/passwd"}, result, &deleted), 802);
    EXPECT_EQ(libDuplicateFinder::DeleteDuplicateFiles({}, result, &deleted), 803);
    EXPECT_EQ(deleted, 0);
    libDuplicateFinder::register_callback(nullptr);
    EXPECT_EQ(libShred::shred("/no/such/file", nullptr), 1);
}

TEST_F(WithoutBus, ManyThreadsMayAsk)
{
    std::array<std::thread, 8> threads;
    for (std::thread &thread : threads)
        thread = std::thread([] {
            for (int round = 0; round < 5; ++round) {
                std::string list;
                int count = 0;
                EXPECT_EQ(libReports::GetReportList(list, "", "", &count), 201);
                EXPECT_EQ(IsProcessRunning("FullScan"), 1);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
}
