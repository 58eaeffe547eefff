// The values on the settings' sub-pages: read from the engine, applied and set to its defaults.
#include "pages/settings.h"

#include "engine/firewall.h"
#include "engine/libsettings.h"
#include "engine/notifysettingchange.h"
#include "pages/messages.h"
#include "pages/settingsactions.h"

#include <QComboBox>
#include <QToolButton>

namespace
{

// What Firewall::TriggerFirewall() takes.
constexpr int kFirewallOn = 1;
constexpr int kFirewallOff = 2;

int value(const QToolButton *onOff)
{
    return onOff->isChecked() ? 1 : 0;
}

void showValue(QToolButton *onOff, int value)
{
    onOff->setChecked(value == 1);
}

// A click on a switch stays on the page until APPLY.
void keepClick(QToolButton *onOff)
{
    onOff->setChecked(onOff->isChecked());
}

} // namespace

void Settings::fillAllSettingsData()
{
    int packed = 0;
    int archive = 0;
    libSettings::GetGeneralSettings(&packed, &archive);
    showValue(btnScanPacked_, packed);
    showValue(btnScanArchive_, archive);

    fillActions();

    int externalDrive = 0;
    libSettings::GetExternalDriveSettings(&externalDrive);
    showValue(btnExternalDriveScan_, externalDrive);

    int firewall = 0;
    libSettings::GetFirewallSetting(&firewall);
    showValue(btnFirewallConfig_, firewall);

    int automatic = 0;
    int frequency = 0;
    libSettings::GetUpdateSettings(&automatic, &frequency);
    showValue(btnUpdateConfig_, automatic);
    cmbUpdateFrequency_->setCurrentIndex(frequency);

    NotifySettingChange();
}

void Settings::fillActions()
{
    int infectedFirst = 0;
    int infectedSecond = 0;
    int suspectedFirst = 0;
    int suspectedSecond = 0;
    int hiddenFirst = 0;
    int hiddenSecond = 0;
    libSettings::GetScanActionSettings(&infectedFirst, &infectedSecond, &suspectedFirst,
                                       &suspectedSecond, &hiddenFirst, &hiddenSecond);
    talo::showAction(infected_.first, infectedFirst);
    talo::showAction(infected_.second, infectedSecond);
    talo::showAction(suspected_.first, suspectedFirst);
    talo::showAction(suspected_.second, suspectedSecond);
    talo::showAction(hidden_.first, hiddenFirst);
    talo::showAction(hidden_.second, hiddenSecond);
}

void Settings::btnScanArchiveClicked()
{
    keepClick(btnScanArchive_);
}

void Settings::btnScanPackedClicked()
{
    keepClick(btnScanPacked_);
}

void Settings::btnExternalDriveScanClicked()
{
    keepClick(btnExternalDriveScan_);
}

void Settings::btnFirewallConfigClicked()
{
    keepClick(btnFirewallConfig_);
}

void Settings::btnUpdateConfigClicked()
{
    keepClick(btnUpdateConfig_);
}

void Settings::btnApplyGeneralClicked()
{
    libSettings::ApplyGeneralSettings(value(btnScanPacked_), value(btnScanArchive_));
    NotifySettingChange();
    tellApplied();
}

void Settings::btnApplyScanActionsClicked()
{
    libSettings::ApplyScanActionSettings(
        talo::chosenAction(infected_.first), talo::chosenAction(infected_.second),
        talo::chosenAction(suspected_.first), talo::chosenAction(suspected_.second),
        talo::chosenAction(hidden_.first), talo::chosenAction(hidden_.second));
    NotifySettingChange();
    tellApplied();
}

void Settings::btnApplyExternalDriveClicked()
{
    libSettings::ApplyExternalDriveSettings(value(btnExternalDriveScan_));
    tellApplied();
}

void Settings::btnApplyFirewallClicked()
{
    libSettings::ApplyFirewallSetting(value(btnFirewallConfig_));
    Firewall::TriggerFirewall(btnFirewallConfig_->isChecked() ? kFirewallOn : kFirewallOff);
    tellApplied();
}

void Settings::btnApplyUpdateClicked()
{
    const int frequency = qMax(0, cmbUpdateFrequency_->currentIndex()); // none shown is every hour
    libSettings::ApplyUpdateSettings(value(btnUpdateConfig_), frequency);
    NotifySettingChange();
    tellApplied();
}

void Settings::btnDefaultGeneralClicked()
{
    libSettings::ApplyDefaultGeneralSetting();
    fillAllSettingsData();
    NotifySettingChange();
    tellDefault();
}

void Settings::btnDefaultScanActionsClicked()
{
    libSettings::ApplyDefaultScanActionSetting();
    fillAllSettingsData();
    NotifySettingChange();
    tellDefault();
}

void Settings::btnDefaultExternalDriveClciked()
{
    libSettings::ApplyDefaultExternalDriveSetting();
    fillAllSettingsData();
    tellDefault();
}

// The firewall goes on even where the default says off: asking for defaults asks for protection.
void Settings::btnDefaultFirewallClicked()
{
    libSettings::ApplyDefaultFirewallSettings();
    fillAllSettingsData();
    Firewall::TriggerFirewall(kFirewallOn);
    tellDefault();
}

void Settings::btnDefaultUpdateClicked()
{
    libSettings::ApplyDefaultUpdateSettings();
    fillAllSettingsData();
    NotifySettingChange();
    tellDefault();
}

void Settings::tellApplied()
{
    talo::showInformation(this, tr("Settings Updation"),
                          tr("Current settings applied successfully"));
}

void Settings::tellDefault()
{
    talo::showInformation(this, tr("Settings Updation"),
                          tr("Default settings applied successfully"));
}
