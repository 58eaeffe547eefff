// The panel's only top-level window: the sidebar, the stack of pages, and the password gate in
// front of the settings.
#pragma once

#include "pages/passwordprompt.h"

#include <QWidget>

class AdvancedTools;
class ConfigureScheduleScan;
class Datatheft;
class DuplicateFinder;
class Help;
class Home;
class MobileApp;
class QBoxLayout;
class QLabel;
class QStackedWidget;
class QToolButton;
class Report;
class Scan;
class ScheduleScan;
class Settings;
class Shredder;
class Update;
class WhatsNew;

class TaloAntivirus_Linux_App : public QWidget
{
    Q_OBJECT

public:
    explicit TaloAntivirus_Linux_App(QWidget *parent = nullptr);

public slots:
    void btnHomeClicked();
    void btnSettingsClicked();
    void btnHelpClicked();
    void btnScanCliked();
    void btnUpdateClicked();
    void btnReportClicked();
    void btnScheduleScanClicked();
    void btnConfigureScheduleScanCliked();
    void btnWebAndEmailSettingsClicked();
    void btnFacebookClicked();
    void btnTiwtterClicked();
    void btnGooglePlusClicked();
    void btnEditConfigureScheduleScanCliked(QString name, int type, int weekday, int hour,
                                            int minute);
    void btnMobileAppClicked();
    void btnWhatsNewClicked();
    void btnAdvancedToolsClicked();
    void btnDataTheftClicked();
    void btnDuplicateFinderClicked();
    void btnShredderClicked();
    void btnApplyPwdClikced();
    void btnCancelPwdClicked();
    void refershDashBoard();
    void btnForgotPwdClicked();

private:
    void createSidebar();
    void createCenter();
    void createPages();
    void connectPages();
    void loadStyle();
    QToolButton *createSidebarButton(const QString &name, const QString &text, const char *slot);
    QToolButton *createSocialButton(const QString &name, const QString &site, const char *slot);
    void markSidebar(QToolButton *current);
    bool mayOpenSettings();
    void validatePwd();

    int passwordValidated_ = 0;
    QWidget *sidebar_ = nullptr;
    QWidget *center_ = nullptr;
    QToolButton *btnHome_ = nullptr;
    QToolButton *btnSettings_ = nullptr;
    QToolButton *btnHelp_ = nullptr;
    QToolButton *btnFacebook_ = nullptr;
    QToolButton *btnTiwtter_ = nullptr;
    QToolButton *btnGooglePlus_ = nullptr;
    QStackedWidget *pages_ = nullptr;
    QLabel *copyrights_ = nullptr;
    talo::PasswordPrompt prompt_;
    Home *home_ = nullptr;
    Settings *settings_ = nullptr;
    Help *help_ = nullptr;
    Scan *scan_ = nullptr;
    Update *update_ = nullptr;
    Report *report_ = nullptr;
    ScheduleScan *scheduleScan_ = nullptr;
    ConfigureScheduleScan *configureScheduleScan_ = nullptr;
    MobileApp *mobileApp_ = nullptr;
    WhatsNew *whatsNew_ = nullptr;
    AdvancedTools *advancedTools_ = nullptr;
    Datatheft *datatheft_ = nullptr;
    DuplicateFinder *duplicateFinder_ = nullptr;
    Shredder *shredder_ = nullptr;
};
