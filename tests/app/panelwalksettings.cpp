#include "app/panelwalksteps.h"

#include <QComboBox>
#include <QDir>
#include <QTextEdit>
#include <QToolButton>

namespace talo::test
{
namespace
{

void visitExclusion(PanelWalkSteps &walk, QDialog *dialog)
{
    walk.modal("settings-exclusion-empty", walk.numbered(dialog, 1));
    dialog->findChild<QComboBox *>()->setCurrentIndex(1);
    walk.stop("settings-exclusion-location", dialog);
    walk.modal("settings-exclusion-nopath", walk.numbered(dialog, 2));
    dialog->findChild<QComboBox *>()->setCurrentIndex(0);
    dialog->findChild<QTextEdit *>()->setPlainText(".iso");
    walk.answer("libExcludeSetting::AddExcludeSettings", {701});
    walk.modal("settings-exclusion-dot", walk.numbered(dialog, 1));
}

enum Transfer { Import, Export }; // the buttons of the dialog for both

// One way through that dialog, up to its message.
void transfer(PanelWalkSteps &walk, Transfer direction, const QString &folder,
              const QString &message)
{
    QToolButton *open = walk.page()->findChildren<QToolButton *>("btnImportExport").last();
    walk.modal("", open, [&](QDialog *dialog) {
        walk.modal("", walk.numbered(dialog, direction), [&](QDialog *chooser) {
            if (!folder.isEmpty())
                walk.choose(chooser, folder);
            walk.modal(message, walk.numbered(chooser, 0));
        });
    });
}

void walkImportExport(PanelWalkSteps &walk)
{
    QToolButton *open = walk.page()->findChildren<QToolButton *>("btnImportExport").last();
    const QString here = QDir::currentPath();
    transfer(walk, Export, {}, "settings-export-nopath"); // before a visit may choose one
    walk.modal("settings-importexport", open, [&](QDialog *dialog) {
        walk.modal("settings-chooser", walk.numbered(dialog, Export));
    });
    transfer(walk, Export, here, "settings-exported");
    transfer(walk, Import, {}, "settings-import-nopath");
    walk.answer("libImportExportSetting::ImportSettings", {1});
    transfer(walk, Import, here, "settings-import-invalid");
    walk.answer("libImportExportSetting::ImportSettings", {0});
    transfer(walk, Import, here, "settings-imported");
}

// Asks for a new password by mail: the question, and what comes of it by the engine's code.
void resetPassword(PanelWalkSteps &walk, QToolButton *button, const QString &stop, int code)
{
    walk.answer("product_registration", {code});
    walk.modals([&] { walk.press(button); }, {{"", &PanelWalkSteps::answerYes}, {stop}});
}

void changePassword(PanelWalkSteps &walk, QDialog *dialog)
{
    for (const int refusal : {1, 2, 3}) {
        walk.answer("libPassword::modifyPassword", {refusal});
        walk.modal(QString("password-change-refused-%1").arg(refusal), walk.numbered(dialog, 1));
    }
    walk.answer("libPassword::modifyPassword", {0});
    walk.modal("password-changed", walk.numbered(dialog, 1));
}

void createPassword(PanelWalkSteps &walk, QDialog *dialog)
{
    for (const int refusal : {1, 2}) {
        walk.answer("libPassword::createpass", {refusal});
        walk.modal(QString("password-create-refused-%1").arg(refusal), walk.numbered(dialog, 1));
    }
    walk.answer("libPassword::createpass", {0});
    walk.modal("password-created", walk.numbered(dialog, 1));
}

void walkGate(PanelWalkSteps &walk)
{
    walk.answer("libPassword::getPwdProtectionStaus", {1});
    walk.go("btnHomeClicked");
    const auto open = [&] { walk.go("btnSettingsClicked"); };
    walk.modal("password-gate", open,
               [&](QDialog *dialog) { walk.modal("password-wrong", walk.numbered(dialog, 1)); });
    for (const int code : {101, 1})
        walk.modal("", open, [&](QDialog *dialog) {
            resetPassword(walk, walk.numbered(dialog, 0),
                          QString("password-forgotten-%1").arg(code), code);
        });
}

} // namespace

void walkSettings(PanelWalkSteps &walk)
{
    walk.go("btnSettingsClicked");
    walk.stop("settings-general");
    walk.press(walk.named("btnScanActions"));
    walk.stop("settings-actions");
    walk.press(walk.named("btnExternalDrive"));
    walk.stop("settings-drive");
    walk.press(walk.named("btnExcludeScanList"));
    walk.stop("settings-exclusions");
    walk.select(-1);
    walk.modal("settings-exclusion-select", walk.named("btnDefaultGeneral"));
    walk.modal("settings-exclusion", walk.named("btnApplyGeneral"),
               [&](QDialog *dialog) { visitExclusion(walk, dialog); });
    walk.press(walk.named("btnWebAndEmailSettings"));
    walk.stop("settings-web");
    walk.modal("settings-applied", walk.named("btnApplyFirewall"));
    walk.modal("settings-default", walk.named("btnDefaultFirewall"));
    walk.press(walk.named("btnUpdateSettings"));
    walk.stop("settings-update");
    walkImportExport(walk);
}

void walkPasswords(PanelWalkSteps &walk)
{
    QToolButton *manage = walk.page()->findChildren<QToolButton *>("btnImportExport").first();
    walk.modal("password-manage", manage, [&](QDialog *dialog) {
        walk.modal("password-change", walk.numbered(dialog, 2),
                   [&](QDialog *change) { changePassword(walk, change); });
        walk.modal("password-reset", walk.numbered(dialog, 1));
    });
    walk.modal("", manage, [&](QDialog *dialog) {
        resetPassword(walk, walk.numbered(dialog, 1), "password-sent", 4097);
    });
    walk.modal("", manage, [&](QDialog *dialog) {
        walk.modal("password-protect", walk.numbered(dialog, 0), [&](QDialog *prompt) {
            walk.modal("password-protect-wrong", walk.numbered(prompt, 0));
        });
    });
    walk.answer("libPassword::IsPasswordExists", {-1});
    walk.modal("password-manage-none", manage, [&](QDialog *dialog) {
        walk.modal("password-first", walk.numbered(dialog, 0));
        walk.modal("password-create", walk.numbered(dialog, 1),
                   [&](QDialog *create) { createPassword(walk, create); });
    });
    walk.answer("libPassword::IsPasswordExists", {0});
    walkGate(walk);
}

} // namespace talo::test
