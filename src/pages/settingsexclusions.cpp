// The settings' list of what scans leave out.
#include "pages/settings.h"

#include "engine/libexcludesetting.h"
#include "engine/notifysettingchange.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/excludescan.h"
#include "pages/exclusionkinds.h"
#include "pages/listtable.h"
#include "pages/messages.h"

#include <QBoxLayout>
#include <QStackedWidget>
#include <QTableWidget>
#include <QToolButton>

namespace
{

enum Column { EntryColumn, TypeColumn };

// Fills rows from `firstRow` on with the first `count` of the engine's comma-separated entries.
void fillRows(QTableWidget *table, int firstRow, const std::string &entries, int count,
              const QString &type)
{
    const QStringList texts = QString::fromStdString(entries).split(',');
    for (int i = 0; i < count; ++i) {
        talo::setCentredCell(table, firstRow + i, EntryColumn, texts.value(i));
        talo::setCentredCell(table, firstRow + i, TypeColumn, type);
    }
}

} // namespace

// The names of the page and of its buttons are other pages' and bring their look along.
QWidget *Settings::createScanExcludeListConfigurationPage()
{
    QWidget *page = talo::createBand(scanTabs_, "scanexternaldriveconfigsettingpage", 320);
    page->setContentsMargins(20, 0, 20, 0);

    excludeListTbl_ = new QTableWidget(0, 2, page);
    excludeListTbl_->setObjectName("excludeListTbl");
    excludeListTbl_->setFixedSize(610, 180);
    excludeListTbl_->setColumnWidth(EntryColumn, 350);
    talo::makeListTable(excludeListTbl_, {tr("Path/Extension"), tr("Type")}, tr("Exclusions"));
    // Long paths differ at their ends; broken into lines, their ends would be out of sight.
    excludeListTbl_->setWordWrap(false);
    excludeListTbl_->setTextElideMode(Qt::ElideMiddle);

    btnRemoveExcludeScan_ = createSlotButton(page, "btnDefaultGeneral", tr("REMOVE"),
                                             SLOT(btnRemoveExcludeScanClicked()));
    auto *add =
        createSlotButton(page, "btnApplyGeneral", tr("ADD"), SLOT(btnAddExcludeScanClicked()));

    auto *buttons = talo::createRow();
    talo::addSpread(buttons, {btnRemoveExcludeScan_, add});

    auto *column = talo::createColumn(page);
    column->addStretch(1);
    column->addWidget(excludeListTbl_);
    column->addStretch(1);
    column->addLayout(buttons);
    column->addSpacing(45);
    return page;
}

void Settings::fillExcludeScanTabelData()
{
    excludeListTbl_->setRowCount(0);

    std::string locations;
    std::string extensions;
    int locationCount = 0;
    int extensionCount = 0;
    libExcludeSetting::GetExcludeScanList(locations, extensions, &locationCount, &extensionCount);

    excludeListTbl_->setRowCount(locationCount + extensionCount);
    fillRows(excludeListTbl_, 0, locations, locationCount, tr("Location"));
    fillRows(excludeListTbl_, locationCount, extensions, extensionCount, tr("Extension"));

    if (locationCount < 1 && extensionCount < 1) {
        btnRemoveExcludeScan_->setEnabled(false);
    } else {
        btnRemoveExcludeScan_->setEnabled(true);
        excludeListTbl_->setCurrentIndex(excludeListTbl_->currentIndex());
    }
    NotifySettingChange();
}

void Settings::btnAddExcludeScanClicked()
{
    ExcludeScan dialog(nullptr);
    dialog.exec();
    fillExcludeScanTabelData();
}

void Settings::btnRemoveExcludeScanClicked()
{
    const int row = excludeListTbl_->currentRow();
    if (row < 0) {
        talo::showWarning(this, tr("ExcludeScan"), tr("Kindly select row to remove."));
        return;
    }
    const std::string entry = excludeListTbl_->item(row, EntryColumn)->text().toStdString();
    const QString type = excludeListTbl_->item(row, TypeColumn)->text();
    if (type == tr("Extension")) {
        libExcludeSetting::RemoveExcludeSetting(entry, talo::kExtensionKind);
    } else if (type == tr("Location")) {
        libExcludeSetting::RemoveExcludeSetting(entry, talo::kLocationKind);
    }
    fillExcludeScanTabelData();
}
