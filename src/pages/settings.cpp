// The settings page itself: its header and its tabs.
#include "pages/settings.h"

#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QStackedWidget>
#include <QToolButton>

namespace
{

enum Tab { ScanTab, WebAndEmailTab, UpdateTab };
enum InnerTab { GeneralTab, ScanActionsTab, ExternalDriveTab, ExcludeScanListTab };

} // namespace

Settings::Settings(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("home"); // borrows the first page's look
    createTop();
    createMiddle();

    auto *column = talo::createColumn(this);
    column->addWidget(top_);
    column->addWidget(middle_);
    column->addStretch(1);
    setContentsMargins(0, 0, 0, 0);
}

void Settings::createTop()
{
    top_ = talo::createBand(this, "", 50);

    QToolButton *title = talo::createPicture(top_, "settingsPageTitle", 20, tr(" Settings"));

    // One name for both links gives them one look.
    auto *password = createSlotButton(top_, "btnImportExport", tr("Manage Password"),
                                      SLOT(btnPwdProtectionClicked()));
    auto *importExport = createSlotButton(top_, "btnImportExport", tr("Import/Export"),
                                          SLOT(btnImportExportClicked()));

    auto *row = talo::createRow(top_);
    row->addSpacing(10);
    row->addWidget(title, 0, Qt::AlignHCenter);
    row->addStretch(1);
    row->addWidget(password, 0, Qt::AlignHCenter);
    row->addSpacing(5);
    row->addWidget(importExport, 0, Qt::AlignHCenter);
    row->addSpacing(10);
}

void Settings::createMiddle()
{
    middle_ = talo::createBand(this, "settingmiddle", 400);

    btnScanSettings_ =
        createTabButton(middle_, "btnScanSettings", tr("Scan"), SLOT(btnScanSettingsClicked()));
    btnScanSettings_->setChecked(true);
    btnWebAndEmailSettings_ = createTabButton(middle_, "btnWebAndEmailSettings", tr("Web/Email"),
                                              SLOT(btnWebAndEmailSettingsClicked()));
    btnUpdateSettings_ = createTabButton(middle_, "btnUpdateSettings", tr("Update"),
                                         SLOT(btnUpdateSettingsClicked()));

    tabs_ = new QStackedWidget(middle_);
    tabs_->setFixedSize(650, 350);
    tabs_->addWidget(createScanSettingPage());
    tabs_->addWidget(createWebAndEmailSettingPage());
    tabs_->addWidget(createUpdateSettingPage());
    tabs_->setCurrentIndex(ScanTab);

    auto *row = talo::createRow();
    row->addSpacing(10);
    row->addWidget(btnScanSettings_);
    row->addStretch(1);
    row->addWidget(btnWebAndEmailSettings_);
    row->addStretch(1);
    row->addWidget(btnUpdateSettings_);
    row->addSpacing(10);

    auto *column = talo::createColumn(middle_);
    column->addLayout(row);
    column->addWidget(tabs_);
}

QWidget *Settings::createScanSettingPage()
{
    QWidget *page = talo::createBand(tabs_, "scansettingpage", 350);

    btnGeneral_ = createTabButton(page, "btnGeneral", tr("General"), SLOT(btnGeneralClicked()));
    btnGeneral_->setChecked(true);
    btnScanActions_ =
        createTabButton(page, "btnScanActions", tr("Scan Actions"), SLOT(btnScanActionsClicked()));
    btnExternalDrive_ = createTabButton(page, "btnExternalDrive", tr("External Drive"),
                                        SLOT(btnExternalDriveClicked()));
    btnExcludeScanList_ = createTabButton(page, "btnExcludeScanList", tr("Exclude Scan List"),
                                          SLOT(btnExcludeScanListClicked()));

    scanTabs_ = new QStackedWidget(page);
    scanTabs_->setFixedSize(650, 320);
    scanTabs_->addWidget(createScanConfigurationPage());
    scanTabs_->addWidget(createScanActionConfigurationPage());
    scanTabs_->addWidget(createScanExternalDriveConfigurationPage());
    scanTabs_->addWidget(createScanExcludeListConfigurationPage());
    scanTabs_->setCurrentIndex(GeneralTab);

    auto *row = talo::createRow();
    row->addStretch(1);
    row->addWidget(btnGeneral_);
    row->addSpacing(10);
    row->addWidget(btnScanActions_);
    row->addSpacing(10);
    row->addWidget(btnExternalDrive_);
    row->addSpacing(10);
    row->addWidget(btnExcludeScanList_);
    row->addStretch(1);

    auto *column = talo::createColumn(page);
    column->addSpacing(5);
    column->addLayout(row);
    column->addWidget(scanTabs_);
    return page;
}

QToolButton *Settings::createTabButton(QWidget *band, const char *name, const QString &text,
                                       const char *slot)
{
    QToolButton *button = createSlotButton(band, name, text, slot);
    button->setCheckable(true);
    return button;
}

QToolButton *Settings::createSlotButton(QWidget *page, const char *name, const QString &text,
                                        const char *slot)
{
    QToolButton *button = talo::createTextButton(page, name, text);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return button;
}

void Settings::btnScanSettingsClicked()
{
    showTab(btnScanSettings_, ScanTab);
}

void Settings::btnWebAndEmailSettingsClicked()
{
    showTab(btnWebAndEmailSettings_, WebAndEmailTab);
}

void Settings::btnUpdateSettingsClicked()
{
    showTab(btnUpdateSettings_, UpdateTab);
}

void Settings::btnGeneralClicked()
{
    showScanTab(btnGeneral_, GeneralTab);
}

void Settings::btnScanActionsClicked()
{
    showScanTab(btnScanActions_, ScanActionsTab);
}

void Settings::btnExternalDriveClicked()
{
    showScanTab(btnExternalDrive_, ExternalDriveTab);
}

void Settings::btnExcludeScanListClicked()
{
    showScanTab(btnExcludeScanList_, ExcludeScanListTab);
}

// A click on the tab that is shown already unchecks its button and changes nothing else.
void Settings::showTab(QToolButton *button, int index)
{
    if (!button->isChecked()) {
        return;
    }
    fillAllSettingsData();
    for (QToolButton *tab : {btnScanSettings_, btnWebAndEmailSettings_, btnUpdateSettings_}) {
        tab->setChecked(tab == button);
    }
    tabs_->setCurrentIndex(index);
}

// The same for the tabs within the Scan tab.
void Settings::showScanTab(QToolButton *button, int index)
{
    if (!button->isChecked()) {
        return;
    }
    fillAllSettingsData();
    if (index == ExcludeScanListTab) {
        fillExcludeScanTabelData();
    }
    for (QToolButton *tab :
         {btnGeneral_, btnScanActions_, btnExternalDrive_, btnExcludeScanList_}) {
        tab->setChecked(tab == button);
    }
    scanTabs_->setCurrentIndex(index);
}
