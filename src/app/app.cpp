#include "app/app.h"

#include "pages/advancedtools.h"
#include "pages/boxes.h"
#include "pages/configureschedulescan.h"
#include "pages/datatheft.h"
#include "pages/duplicatefinder.h"
#include "pages/help.h"
#include "pages/home.h"
#include "pages/mobileapp.h"
#include "pages/report.h"
#include "pages/scan.h"
#include "pages/schedulescan.h"
#include "pages/screencentre.h"
#include "pages/settings.h"
#include "pages/shredder.h"
#include "pages/update.h"
#include "pages/website.h"
#include "pages/whatsnew.h"

#include <QApplication>
#include <QBoxLayout>
#include <QFile>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>

namespace
{

// The pages in the order in which the stack holds them.
enum Page {
    HomePage,
    SettingsPage,
    HelpPage,
    ScanPage,
    ScheduleScanPage,
    ConfigureScheduleScanPage,
    ReportPage,
    UpdatePage,
    MobileAppPage,
    WhatsNewPage,
    AdvancedToolsPage,
    DatatheftPage,
    DuplicateFinderPage,
    ShredderPage
};

// The tabs of the settings page that the window opens it on.
enum SettingsTab { ScanSettingsTab, WebAndEmailSettingsTab };

// Every page has the size that the stack has. Asked for their hints they would have to be styled
// and measured to the last widget, the hidden ones too, before the first one can be shown.
class PageStack : public QStackedWidget
{
public:
    using QStackedWidget::QStackedWidget;
    QSize sizeHint() const override { return {650, 420}; }
    QSize minimumSizeHint() const override { return sizeHint(); }
};

} // namespace

TaloAntivirus_Linux_App::TaloAntivirus_Linux_App(QWidget *parent) : QWidget(parent)
{
    setFixedSize(800, 450);
    talo::centreOnScreen(this);
    createSidebar();
    createCenter();
    loadStyle();
    pages_->setCurrentIndex(HomePage);

    auto *row = talo::createRow(this);
    row->addWidget(sidebar_);
    row->addWidget(center_);
    setContentsMargins(0, 0, 0, 0);
    // Or Qt would mark the first button as soon as the window opens; the first Tab leads to it.
    setFocusPolicy(Qt::ClickFocus);
    setFocus();
}

void TaloAntivirus_Linux_App::createSidebar()
{
    sidebar_ = new QWidget(this);
    sidebar_->setObjectName("sidebar");
    sidebar_->setFixedSize(150, 450);
    sidebar_->setContentsMargins(0, 0, 0, 0);

    auto *logo = new QToolButton(sidebar_);
    logo->setObjectName("taloicon");
    logo->setFixedSize(150, 100);
    logo->setIconSize(QSize(150, 50));
    logo->setAccessibleName("TALO Antivirus");
    logo->setFocusPolicy(Qt::NoFocus);

    btnHome_ = createSidebarButton("btnHome", tr(" Home"), SLOT(btnHomeClicked()));
    btnHome_->setChecked(true);
    btnSettings_ = createSidebarButton("btnSettings", tr(" Settings"), SLOT(btnSettingsClicked()));
    btnHelp_ = createSidebarButton("btnHelp", tr(" Help"), SLOT(btnHelpClicked()));
    btnFacebook_ = createSocialButton("btnFacebook", "Facebook", SLOT(btnFacebookClicked()));
    btnTiwtter_ = createSocialButton("btnTiwtter", "Twitter", SLOT(btnTiwtterClicked()));
    btnGooglePlus_ =
        createSocialButton("btnGooglePlus", "Google Plus", SLOT(btnGooglePlusClicked()));

    auto *social = talo::createRow();
    social->addStretch(1);
    for (QToolButton *button : {btnFacebook_, btnTiwtter_, btnGooglePlus_}) {
        social->addWidget(button);
        social->addStretch(1);
    }

    auto *column = talo::createColumn(sidebar_);
    column->addSpacing(10);
    column->addWidget(logo);
    column->addSpacing(10);
    for (QToolButton *button : {btnHome_, btnSettings_, btnHelp_}) {
        column->addWidget(button, 0, Qt::AlignHCenter);
    }
    column->addStretch(1);
    column->addLayout(social);
    column->addSpacing(10);
}

QToolButton *TaloAntivirus_Linux_App::createSidebarButton(const QString &name, const QString &text,
                                                          const char *slot)
{
    auto *button = new QToolButton(sidebar_);
    button->setObjectName(name);
    button->setFixedSize(150, 50);
    button->setIconSize(QSize(25, 25));
    button->setCheckable(true);
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setCursor(Qt::PointingHandCursor);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return button;
}

QToolButton *TaloAntivirus_Linux_App::createSocialButton(const QString &name, const QString &site,
                                                         const char *slot)
{
    auto *button = new QToolButton(sidebar_);
    button->setObjectName(name);
    button->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button->setIconSize(QSize(20, 20));
    button->setCursor(Qt::PointingHandCursor);
    button->setAccessibleName(site);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return button;
}

void TaloAntivirus_Linux_App::createCenter()
{
    center_ = new QWidget(this);
    center_->setObjectName("center");
    center_->setFixedSize(650, 450);
    pages_ = new PageStack(center_);
    pages_->setFixedSize(650, 420);
    createPages();
    connectPages();
    const std::initializer_list<QWidget *> inOrder = {home_,
                                                      settings_,
                                                      help_,
                                                      scan_,
                                                      scheduleScan_,
                                                      configureScheduleScan_,
                                                      report_,
                                                      update_,
                                                      mobileApp_,
                                                      whatsNew_,
                                                      advancedTools_,
                                                      datatheft_,
                                                      duplicateFinder_,
                                                      shredder_};
    for (QWidget *page : inOrder) {
        pages_->addWidget(page);
    }

    copyrights_ = new QLabel(tr("  Copyright © 2026 the TALO Antivirus developers"), center_);
    copyrights_->setObjectName("copyrights");
    copyrights_->setFixedSize(650, 30);

    auto *column = talo::createColumn(center_);
    column->addWidget(pages_);
    column->addWidget(copyrights_);
}

void TaloAntivirus_Linux_App::createPages()
{
    home_ = new Home(pages_);
    settings_ = new Settings(pages_);
    help_ = new Help(pages_);
    scan_ = new Scan(pages_);
    scheduleScan_ = new ScheduleScan(pages_);
    configureScheduleScan_ = new ConfigureScheduleScan(pages_);
    report_ = new Report(pages_);
    update_ = new Update(nullptr); // the stack adopts it
    mobileApp_ = new MobileApp(pages_);
    whatsNew_ = new WhatsNew(pages_);
    advancedTools_ = new AdvancedTools(pages_);
    datatheft_ = new Datatheft(pages_);
    duplicateFinder_ = new DuplicateFinder(pages_);
    shredder_ = new Shredder(pages_);
}

// Pages never switch the stack themselves: they say where the user wants to go.
void TaloAntivirus_Linux_App::connectPages()
{
    const struct {
        QWidget *page;
        const char *signal;
        const char *slot;
    } ways[] = {
        {home_, SIGNAL(ShowScanPage()), SLOT(btnScanCliked())},
        {home_, SIGNAL(ShowReportPage()), SLOT(btnReportClicked())},
        {home_, SIGNAL(ShowSettingsPageForWebAndEmail()), SLOT(btnWebAndEmailSettingsClicked())},
        {home_, SIGNAL(ShowUpdatePage()), SLOT(btnUpdateClicked())},
        {home_, SIGNAL(ShowHelpPage()), SLOT(btnHelpClicked())},
        {home_, SIGNAL(ShowMobileAppPage()), SLOT(btnMobileAppClicked())},
        {home_, SIGNAL(ShowWhatsNewPage()), SLOT(btnWhatsNewClicked())},
        {home_, SIGNAL(ShowAdvancedToolsPage()), SLOT(btnAdvancedToolsClicked())},
        {scan_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {scan_, SIGNAL(ShowScheduleScanPage()), SLOT(btnScheduleScanClicked())},
        {scheduleScan_, SIGNAL(ShowScanPage()), SLOT(btnScanCliked())},
        {scheduleScan_, SIGNAL(ShowConfigureScheduleScanPage()),
         SLOT(btnConfigureScheduleScanCliked())},
        {scheduleScan_, SIGNAL(EditConfigureScheduleScan(QString, int, int, int, int)),
         SLOT(btnEditConfigureScheduleScanCliked(QString, int, int, int, int))},
        {configureScheduleScan_, SIGNAL(ShowScheduleScanPage()), SLOT(btnScheduleScanClicked())},
        {report_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {update_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {mobileApp_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {whatsNew_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {advancedTools_, SIGNAL(ShowHomePage()), SLOT(btnHomeClicked())},
        {advancedTools_, SIGNAL(ShowDataTheftPage()), SLOT(btnDataTheftClicked())},
        {advancedTools_, SIGNAL(ShowDuplicateFinderPage()), SLOT(btnDuplicateFinderClicked())},
        {advancedTools_, SIGNAL(ShowShredderPage()), SLOT(btnShredderClicked())},
        {datatheft_, SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
        {datatheft_, SIGNAL(RefreshDashboard()), SLOT(refershDashBoard())},
        {duplicateFinder_, SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
        {shredder_, SIGNAL(ShowAdvacnedToolsPage()), SLOT(btnAdvancedToolsClicked())},
    };
    for (const auto &way : ways) {
        connect(way.page, way.signal, this, way.slot);
    }
}

// A sheet that cannot be read leaves a working panel without its look.
void TaloAntivirus_Linux_App::loadStyle()
{
    auto *file = new QFile(":/res/style/style.qss", this);
    QString style;
    if (file->open(QIODevice::ReadOnly)) {
        style = QString::fromUtf8(file->readAll().constData());
        file->close();
    }
    qApp->setStyleSheet(style);
}

void TaloAntivirus_Linux_App::markSidebar(QToolButton *current)
{
    for (QToolButton *button : {btnHome_, btnSettings_, btnHelp_}) {
        button->setChecked(button == current);
    }
}

void TaloAntivirus_Linux_App::btnHomeClicked()
{
    home_->setProductStatus();
    markSidebar(btnHome_);
    pages_->setCurrentIndex(HomePage);
}

void TaloAntivirus_Linux_App::btnHelpClicked()
{
    markSidebar(btnHelp_);
    pages_->setCurrentIndex(HelpPage);
}

void TaloAntivirus_Linux_App::btnScanCliked()
{
    pages_->setCurrentIndex(ScanPage);
}

void TaloAntivirus_Linux_App::btnUpdateClicked()
{
    update_->setUpdateStatusInfo();
    pages_->setCurrentIndex(UpdatePage);
}

void TaloAntivirus_Linux_App::btnReportClicked()
{
    report_->fillAllReportTabelData();
    pages_->setCurrentIndex(ReportPage);
}

void TaloAntivirus_Linux_App::btnScheduleScanClicked()
{
    scheduleScan_->fillAllSchTabelData();
    pages_->setCurrentIndex(ScheduleScanPage);
}

void TaloAntivirus_Linux_App::btnConfigureScheduleScanCliked()
{
    configureScheduleScan_->clearAllDataFields();
    pages_->setCurrentIndex(ConfigureScheduleScanPage);
}

void TaloAntivirus_Linux_App::btnEditConfigureScheduleScanCliked(QString name, int type,
                                                                 int weekday, int hour, int minute)
{
    configureScheduleScan_->setAllDataFieldsToEdit(name, type, weekday, hour, minute);
    pages_->setCurrentIndex(ConfigureScheduleScanPage);
}

void TaloAntivirus_Linux_App::btnMobileAppClicked()
{
    pages_->setCurrentIndex(MobileAppPage);
}

void TaloAntivirus_Linux_App::btnWhatsNewClicked()
{
    pages_->setCurrentIndex(WhatsNewPage);
}

void TaloAntivirus_Linux_App::btnAdvancedToolsClicked()
{
    pages_->setCurrentIndex(AdvancedToolsPage);
}

void TaloAntivirus_Linux_App::btnDataTheftClicked()
{
    datatheft_->UpdateDeviceConfig();
    pages_->setCurrentIndex(DatatheftPage);
}

void TaloAntivirus_Linux_App::btnDuplicateFinderClicked()
{
    pages_->setCurrentIndex(DuplicateFinderPage);
}

void TaloAntivirus_Linux_App::btnShredderClicked()
{
    pages_->setCurrentIndex(ShredderPage);
}

void TaloAntivirus_Linux_App::btnFacebookClicked()
{
    talo::openWebPage("/social_media/fb");
}

void TaloAntivirus_Linux_App::btnTiwtterClicked()
{
    talo::openWebPage("/social_media/twitter");
}

void TaloAntivirus_Linux_App::btnGooglePlusClicked()
{
    talo::openWebPage("/social_media/googleplus");
}

void TaloAntivirus_Linux_App::btnSettingsClicked()
{
    if (!mayOpenSettings()) {
        return;
    }
    settings_->scanSettingsButton()->setChecked(true);
    settings_->fillAllSettingsData();
    settings_->btnScanSettingsClicked();
    settings_->tabStack()->setCurrentIndex(ScanSettingsTab);
    markSidebar(btnSettings_);
    pages_->setCurrentIndex(SettingsPage);
}

void TaloAntivirus_Linux_App::btnWebAndEmailSettingsClicked()
{
    if (!mayOpenSettings()) {
        return;
    }
    settings_->webAndEmailSettingsButton()->setChecked(true);
    settings_->fillAllSettingsData();
    settings_->btnWebAndEmailSettingsClicked();
    settings_->tabStack()->setCurrentIndex(WebAndEmailSettingsTab);
    markSidebar(btnSettings_);
    pages_->setCurrentIndex(SettingsPage);
}

// A click on btnSettings has toggled its mark already; a refusal puts the marks right again. The
// shredder page is left out of that on purpose.
void TaloAntivirus_Linux_App::refershDashBoard()
{
    switch (pages_->currentIndex()) {
    case SettingsPage:
    case ShredderPage:
        break;
    case HelpPage:
        markSidebar(btnHelp_);
        break;
    default:
        markSidebar(btnHome_);
    }
}
