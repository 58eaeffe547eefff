// Saving all settings to a file in a folder of the user's choice, and restoring them.
#include "pages/settings.h"

#include "engine/libimportexportsetting.h"
#include "engine/notifysettingchange.h"
#include "pages/boxes.h"
#include "pages/messages.h"
#include "pages/smalldialog.h"

#include <QBoxLayout>
#include <QDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QToolButton>
#include <QTreeView>

namespace
{

constexpr auto kChoosable =
    QDir::AllDirs | QDir::Dirs | QDir::Files | QDir::Drives | QDir::NoDotAndDotDot;

// Appended to the path that was chosen, not to a copy: after a success the next one without a new
// choice goes by the longer path.
const char kSettingsFile[] = "/Settings.ini";

} // namespace

void Settings::btnImportExportClicked()
{
    importExport_ = talo::createSmallDialog("dlgImportExport");

    auto *label = new QLabel(tr("Current setttings of TALO Antivirus can be saved to\n"
                                "file and restore at a later time when needed."),
                             importExport_);
    auto *importButton =
        createSlotButton(importExport_, "", tr("IMPORT"), SLOT(btnImportClicked()));
    auto *exportButton =
        createSlotButton(importExport_, "", tr("EXPORT"), SLOT(btnExportClicked()));

    auto *row = talo::createRow();
    talo::addSpread(row, {importButton, exportButton});

    auto *column = talo::createColumn(importExport_);
    column->addSpacing(10);
    column->addWidget(label, 0, Qt::AlignHCenter);
    column->addSpacing(20);
    column->addLayout(row);
    column->addSpacing(20);
    talo::runDialog(importExport_);
}

void Settings::btnExportClicked()
{
    importExport_->accept();
    exportChooser_ =
        talo::createFileSystemChooser(tr("Select path to export settings"), kChoosable);
    connect(exportChooser_.ok, SIGNAL(clicked()), this, SLOT(exportSettings()));
    connect(exportChooser_.tree, SIGNAL(clicked(QModelIndex)), this,
            SLOT(selectedPathToExport(QModelIndex)));
    talo::runFileSystemChooser(exportChooser_);
}

void Settings::btnImportClicked()
{
    importExport_->accept();
    importChooser_ =
        talo::createFileSystemChooser(tr("Select path to import settings"), kChoosable);
    importChooser_.dialog->setWindowFlags(Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    connect(importChooser_.ok, SIGNAL(clicked()), this, SLOT(importSettings()));
    connect(importChooser_.tree, SIGNAL(clicked(QModelIndex)), this,
            SLOT(selectedPathToImport(QModelIndex)));
    talo::runFileSystemChooser(importChooser_);
}

void Settings::selectedPathToExport(QModelIndex index)
{
    exportPath_ = exportChooser_.model->filePath(index);
}

void Settings::selectedPathToImport(QModelIndex index)
{
    importPath_ = importChooser_.model->filePath(index);
}

void Settings::exportSettings()
{
    exportChooser_.dialog->accept();
    if (exportPath_.isEmpty()) {
        talo::showWarning(this, tr("Select path to export settings"));
        return;
    }
    if (libImportExportSetting::ExportSettings(exportPath_.toUtf8().constData()) != 0) {
        return;
    }
    exportPath_ += kSettingsFile;
    talo::showInformation(this, tr("Settings exported to\n%1").arg(exportPath_));
}

// The page keeps showing the values from before; the next change of tab shows the new ones.
void Settings::importSettings()
{
    importChooser_.dialog->accept();
    if (importPath_.isEmpty()) {
        talo::showWarning(this, tr("Select path to import settings"));
        return;
    }
    if (libImportExportSetting::ImportSettings(importPath_.toUtf8().constData()) != 0) {
        talo::showWarning(this, tr("Failed to import, invalid settings file found"));
        return;
    }
    NotifySettingChange();
    importPath_ += kSettingsFile;
    talo::showInformation(this, tr("Settings imported from\n%1").arg(importPath_));
}
