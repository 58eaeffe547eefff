// The settings' sub-pages that hold switches and boxes.
#include "pages/settings.h"

#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/settingsactions.h"
#include "pages/settingswidgets.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>

namespace
{

QVBoxLayout *createCaptionedBox(QLabel *caption, QComboBox *box)
{
    box->setAccessibleName(caption->text());
    auto *column = talo::createColumn();
    column->addWidget(caption, 0, Qt::AlignLeft);
    column->addWidget(box);
    return column;
}

} // namespace

QWidget *Settings::createScanConfigurationPage()
{
    QWidget *page = talo::createBand(scanTabs_, "scanconfigsettingpage", 320);
    auto *column = talo::createColumn(page);
    column->addStretch();
    column->addLayout(createSwitchRow(page, btnScanArchive_, "btnScanArchive", tr("Scan Archive"),
                                      SLOT(btnScanArchiveClicked())));
    column->addSpacing(10);
    column->addLayout(createSwitchRow(page, btnScanPacked_, "btnScanPacked", tr("Scan Packed"),
                                      SLOT(btnScanPackedClicked())));
    column->addStretch();
    column->addLayout(createApplyRow(page, "btnDefaultGeneral", SLOT(btnDefaultGeneralClicked()),
                                     "btnApplyGeneral", SLOT(btnApplyGeneralClicked())));
    column->addStretch();
    return page;
}

QWidget *Settings::createScanActionConfigurationPage()
{
    QWidget *page = talo::createBand(scanTabs_, "scanactionsconfigsettingpage", 300);
    auto *column = talo::createColumn(page);
    column->addStretch();
    column->addLayout(createActionRow(page, infected_, tr("First action for infected files"),
                                      tr("Second action for infected files")));
    column->addStretch();
    column->addLayout(createActionRow(page, suspected_, tr("First action for suspected files"),
                                      tr("Second action for suspected files")));
    column->addStretch();
    column->addLayout(createActionRow(page, hidden_, tr("First action for hidden files"),
                                      tr("Second action for hidden files")));
    column->addStretch();
    column->addLayout(createApplyRow(page, "btnDefaultScanActions",
                                     SLOT(btnDefaultScanActionsClicked()), "btnApplyScanActions",
                                     SLOT(btnApplyScanActionsClicked())));
    column->addStretch();
    return page;
}

// The buttons of this page and of the update page borrow other pages' names for their look.
QWidget *Settings::createScanExternalDriveConfigurationPage()
{
    QWidget *page = talo::createBand(scanTabs_, "scanexternaldriveconfigsettingpage", 320);
    auto *column = talo::createColumn(page);
    column->addStretch();
    column->addLayout(createSwitchRow(page, btnExternalDriveScan_, "btnExternalDriveScan",
                                      tr("External Drive Scan"),
                                      SLOT(btnExternalDriveScanClicked())));
    column->addStretch();
    column->addLayout(createApplyRow(page, "btnDefaultGeneral",
                                     SLOT(btnDefaultExternalDriveClciked()), "btnApplyGeneral",
                                     SLOT(btnApplyExternalDriveClicked())));
    column->addSpacing(45);
    return page;
}

QWidget *Settings::createWebAndEmailSettingPage()
{
    QWidget *page = talo::createBand(tabs_, "firewallsettingpage", 350);
    auto *column = talo::createColumn(page);
    column->addStretch();
    column->addLayout(createSwitchRow(page, btnFirewallConfig_, "btnFirewallConfig", tr("Firewall"),
                                      SLOT(btnFirewallConfigClicked())));
    column->addStretch();
    column->addLayout(createApplyRow(page, "btnDefaultFirewall", SLOT(btnDefaultFirewallClicked()),
                                     "btnApplyFirewall", SLOT(btnApplyFirewallClicked())));
    column->addSpacing(36);
    return page;
}

QWidget *Settings::createUpdateSettingPage()
{
    QWidget *page = talo::createBand(tabs_, "updatesettingpage", 350);

    auto *label = new QLabel(tr("Update Frequency"), page);
    cmbUpdateFrequency_ = new QComboBox(page);
    cmbUpdateFrequency_->setFixedSize(100, 30);
    cmbUpdateFrequency_->setCursor(Qt::PointingHandCursor);
    cmbUpdateFrequency_->addItems({tr("1 Hour"), tr("2 Hour"), tr("6 Hour"), tr("24 Hour")});
    cmbUpdateFrequency_->setAccessibleName(label->text());

    auto *column = talo::createColumn(page);
    column->addStretch();
    column->addLayout(createSwitchRow(page, btnUpdateConfig_, "btnUpdateConfig",
                                      tr("Automatic Update"), SLOT(btnUpdateConfigClicked()),
                                      Qt::AlignRight));
    setTabOrder(btnUpdateConfig_, cmbUpdateFrequency_);
    column->addStretch();
    column->addLayout(talo::createLabelledRow(label, cmbUpdateFrequency_, Qt::AlignRight));
    column->addStretch();
    column->addLayout(createApplyRow(page, "btnDefaultFirewall", SLOT(btnDefaultUpdateClicked()),
                                     "btnApplyGeneral", SLOT(btnApplyUpdateClicked())));
    column->addSpacing(36);
    return page;
}

QHBoxLayout *Settings::createSwitchRow(QWidget *page, QToolButton *&button, const char *name,
                                       const QString &label, const char *slot,
                                       Qt::Alignment alignment)
{
    button = talo::createSwitch(page, name, label);
    connect(button, SIGNAL(clicked(bool)), this, slot);
    return talo::createLabelledRow(new QLabel(label, page), button, alignment);
}

QHBoxLayout *Settings::createActionRow(QWidget *page, ActionBoxes &boxes, const QString &first,
                                       const QString &second)
{
    boxes.first = talo::createActionBox(page, talo::ActionOrder::First);
    boxes.second = talo::createActionBox(page, talo::ActionOrder::Second);

    auto *row = talo::createRow();
    row->addSpacing(40);
    row->addLayout(createCaptionedBox(new QLabel(first, page), boxes.first));
    row->addStretch(1);
    row->addLayout(createCaptionedBox(new QLabel(second, page), boxes.second));
    row->addStretch(1);
    return row;
}

QHBoxLayout *Settings::createApplyRow(QWidget *page, const char *defaultName,
                                      const char *defaultSlot, const char *applyName,
                                      const char *applySlot)
{
    auto *row = talo::createRow();
    talo::addSpread(row, {createSlotButton(page, defaultName, tr("DEFAULT"), defaultSlot),
                          createSlotButton(page, applyName, tr("APPLY"), applySlot)});
    return row;
}
