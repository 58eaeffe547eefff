// The protection settings on three tabs, with the exclusions from scanning, the settings password
// and the settings file. Every value shown is the engine's; the page keeps none of its own.
#pragma once

#include "pages/filesystemchooser.h"
#include "pages/passwordprompt.h"
#include "pages/settingspassworddialogs.h"

#include <QModelIndex>
#include <QWidget>

class QComboBox;
class QHBoxLayout;
class QStackedWidget;
class QTableWidget;
class QToolButton;
class QVBoxLayout;

class Settings : public QWidget
{
    Q_OBJECT

public:
    explicit Settings(QWidget *parent = nullptr);

    // Reloads every setting from the engine; changes that were not applied are lost.
    void fillAllSettingsData();
    // Reloads the list of exclusions from the engine.
    void fillExcludeScanTabelData();
    // Asks for the settings password to switch protection on.
    void validatePwd();

    void createTop();
    void createMiddle();
    QWidget *createScanSettingPage();
    QWidget *createScanConfigurationPage();
    QWidget *createScanActionConfigurationPage();
    QWidget *createScanExternalDriveConfigurationPage();
    QWidget *createScanExcludeListConfigurationPage();
    QWidget *createWebAndEmailSettingPage();
    QWidget *createUpdateSettingPage();

    // The main window opens the page on a tab of its choice.
    QToolButton *scanSettingsButton() const { return btnScanSettings_; }
    QToolButton *webAndEmailSettingsButton() const { return btnWebAndEmailSettings_; }
    QStackedWidget *tabStack() const { return tabs_; }

signals:
    void ShowHomePage();

public slots:
    void btnScanSettingsClicked();
    void btnUpdateSettingsClicked();
    void btnWebAndEmailSettingsClicked();

private slots:
    void btnGeneralClicked();
    void btnScanActionsClicked();
    void btnExternalDriveClicked();
    void btnExcludeScanListClicked();
    void btnScanPackedClicked();
    void btnScanArchiveClicked();
    void btnExternalDriveScanClicked();
    void btnAddExcludeScanClicked();
    void btnRemoveExcludeScanClicked();
    void btnFirewallConfigClicked();
    void btnUpdateConfigClicked();
    void btnDefaultGeneralClicked();
    void btnDefaultScanActionsClicked();
    void btnDefaultExternalDriveClciked();
    void btnDefaultFirewallClicked();
    void btnDefaultUpdateClicked();
    void btnApplyGeneralClicked();
    void btnApplyScanActionsClicked();
    void btnApplyExternalDriveClicked();
    void btnApplyFirewallClicked();
    void btnApplyUpdateClicked();
    void btnPwdProtectionClicked();
    void btnImportExportClicked();
    void btnImportClicked();
    void btnExportClicked();
    void importSettings();
    void exportSettings();
    void selectedPathToExport(QModelIndex index);
    void selectedPathToImport(QModelIndex index);
    void btnPwdConfigClicked();
    void btnCreatePwdClicked();
    void btnCancelCreatePwdClicked();
    void btnOkCreatePwdClicked();
    void btnApplyPwdClikced();
    void btnCancelPwdClicked();
    void btnResetPwdClicked();
    void btnChangePwdClicked();
    void btnOkChangePwdClicked();
    void btnCancelChangePwdClicked();

private:
    struct ActionBoxes {
        QComboBox *first;
        QComboBox *second;
    };

    QToolButton *createTabButton(QWidget *band, const char *name, const QString &text,
                                 const char *slot);
    QToolButton *createSlotButton(QWidget *page, const char *name, const QString &text,
                                  const char *slot);
    QHBoxLayout *createApplyRow(QWidget *page, const char *defaultName, const char *defaultSlot,
                                const char *applyName, const char *applySlot);
    QHBoxLayout *createSwitchRow(QWidget *page, QToolButton *&button, const char *name,
                                 const QString &label, const char *slot,
                                 Qt::Alignment alignment = {});
    QHBoxLayout *createActionRow(QWidget *page, ActionBoxes &boxes, const QString &first,
                                 const QString &second);
    void showTab(QToolButton *button, int index);
    void showScanTab(QToolButton *button, int index);
    void fillActions();
    void showProtection(bool on);
    void tellApplied();
    void tellDefault();

    // Header band and tabs
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QToolButton *btnScanSettings_ = nullptr;
    QToolButton *btnWebAndEmailSettings_ = nullptr;
    QToolButton *btnUpdateSettings_ = nullptr;
    QStackedWidget *tabs_ = nullptr;
    QToolButton *btnGeneral_ = nullptr;
    QToolButton *btnScanActions_ = nullptr;
    QToolButton *btnExternalDrive_ = nullptr;
    QToolButton *btnExcludeScanList_ = nullptr;
    QStackedWidget *scanTabs_ = nullptr;

    // Values
    QToolButton *btnScanArchive_ = nullptr;
    QToolButton *btnScanPacked_ = nullptr;
    QToolButton *btnExternalDriveScan_ = nullptr;
    QToolButton *btnFirewallConfig_ = nullptr;
    QToolButton *btnUpdateConfig_ = nullptr;
    QComboBox *cmbUpdateFrequency_ = nullptr;
    ActionBoxes infected_ = {};
    ActionBoxes suspected_ = {};
    ActionBoxes hidden_ = {};

    // Exclusions
    QTableWidget *excludeListTbl_ = nullptr;
    QToolButton *btnRemoveExcludeScan_ = nullptr;

    // Password
    talo::ManagePasswordDialog managePwd_;
    talo::NewPasswordDialog createPwd_;
    talo::NewPasswordDialog changePwd_;
    talo::PasswordPrompt prompt_;

    // Import and export. The two paths outlive their choosers.
    QPointer<QDialog> importExport_;
    talo::FileSystemChooser importChooser_;
    talo::FileSystemChooser exportChooser_;
    QString importPath_;
    QString exportPath_;
};
