#include "pages/settings.h"

#include "engine/notifysettingchange.h"
#include "pages/boxes.h"

#include <QBoxLayout>
#include <QStackedWidget>
#include <QToolButton>

namespace
{

enum Tab { ScanTab, WebAndEmailTab, UpdateTab };

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
    top_ = new QWidget(this);
    top_->setFixedSize(650, 50);
    top_->setContentsMargins(0, 0, 0, 0);

    auto *title = new QToolButton(top_);
    title->setObjectName("settingsPageTitle");
    title->setText(tr(" Settings"));
    title->setIconSize(QSize(20, 20));
    title->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);

    auto *row = talo::createRow(top_);
    row->addSpacing(10);
    row->addWidget(title, 0, Qt::AlignHCenter);
    row->addStretch(1);
    row->addSpacing(10);
}

void Settings::createMiddle()
{
    middle_ = new QWidget(this);
    middle_->setObjectName("settingmiddle");
    middle_->setFixedSize(650, 400);
    middle_->setContentsMargins(0, 0, 0, 0);

    btnScanSettings_ =
        createTabButton("btnScanSettings", tr("Scan"), SLOT(btnScanSettingsClicked()));
    btnScanSettings_->setChecked(true);
    btnWebAndEmailSettings_ = createTabButton("btnWebAndEmailSettings", tr("Web/Email"),
                                              SLOT(btnWebAndEmailSettingsClicked()));
    btnUpdateSettings_ =
        createTabButton("btnUpdateSettings", tr("Update"), SLOT(btnUpdateSettingsClicked()));

    tabs_ = new QStackedWidget(middle_);
    tabs_->setFixedSize(650, 350);
    addTab("scansettingpage");
    addTab("firewallsettingpage");
    addTab("updatesettingpage");
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

QToolButton *Settings::createTabButton(const QString &name, const QString &text, const char *slot)
{
    auto *button = new QToolButton(middle_);
    button->setObjectName(name);
    button->setText(text);
    button->setCheckable(true);
    button->setCursor(Qt::PointingHandCursor);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return button;
}

void Settings::addTab(const QString &name)
{
    auto *page = new QWidget(tabs_);
    page->setObjectName(name);
    page->setFixedSize(650, 350);
    page->setContentsMargins(0, 0, 0, 0);
    tabs_->addWidget(page);
}

// The tabs hold no values yet; the engine hears of every reload all the same.
void Settings::fillAllSettingsData()
{
    NotifySettingChange();
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
