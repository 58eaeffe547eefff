// The settings password: creating, changing and resetting it, and switching protection on and off.
#include "pages/settings.h"

#include "engine/libpassword.h"
#include "pages/messages.h"
#include "pages/passwordreset.h"
#include "pages/smalldialog.h"

#include <QDialog>
#include <QLineEdit>
#include <QToolButton>

namespace
{

talo::StoredPassword storedPassword()
{
    return libPassword::IsPasswordExists() == 0 ? talo::StoredPassword::Exists
                                                : talo::StoredPassword::None;
}

std::string typed(const QLineEdit *field)
{
    return field->text().toStdString();
}

} // namespace

void Settings::btnPwdProtectionClicked()
{
    managePwd_ = talo::createManagePasswordDialog();
    connect(managePwd_.protection, SIGNAL(clicked(bool)), this, SLOT(btnPwdConfigClicked()));
    connect(managePwd_.create, SIGNAL(clicked(bool)), this, SLOT(btnCreatePwdClicked()));
    connect(managePwd_.reset, SIGNAL(clicked(bool)), this, SLOT(btnResetPwdClicked()));
    connect(managePwd_.change, SIGNAL(clicked(bool)), this, SLOT(btnChangePwdClicked()));

    const talo::StoredPassword stored = storedPassword();
    if (stored == talo::StoredPassword::Exists) {
        managePwd_.protection->setChecked(libPassword::getPwdProtectionStaus() == 1);
    }
    talo::offerPasswordButtons(managePwd_, stored);
    talo::runDialog(managePwd_.dialog);
}

// Switching off asks for nothing: whoever sees this page has passed the gate in front of it.
void Settings::btnPwdConfigClicked()
{
    if (!managePwd_.protection->isChecked()) {
        libPassword::modifyPwdProtectionStatus(0);
        return;
    }
    if (storedPassword() == talo::StoredPassword::None) {
        talo::offerPasswordButtons(managePwd_, talo::StoredPassword::None);
        managePwd_.protection->setChecked(false);
        talo::showWarning(this, tr("Please create password first."));
        return;
    }
    validatePwd();
    talo::offerPasswordButtons(managePwd_, talo::StoredPassword::Exists);
    showProtection(true);
}

void Settings::showProtection(bool on)
{
    if (managePwd_.protection) {
        managePwd_.protection->setChecked(on);
    }
}

void Settings::validatePwd()
{
    if (managePwd_.dialog) {
        managePwd_.dialog->accept();
    }
    prompt_ =
        talo::createPasswordPrompt({tr("Please enter the password to\napply the changes"),
                                    "dlgManagePwdBtns", talo::PasswordPromptDesign::Forgot::Absent,
                                    talo::PasswordPromptDesign::Order::CancelFirst});
    connect(prompt_.apply, SIGNAL(clicked(bool)), this, SLOT(btnApplyPwdClikced()));
    connect(prompt_.cancel, SIGNAL(clicked(bool)), this, SLOT(btnCancelPwdClicked()));
    talo::runPasswordPrompt(prompt_);
}

// Turns the stored flag around, whatever it was, and leaves the switch at the opposite of it.
void Settings::btnApplyPwdClikced()
{
    if (libPassword::ValidatePassword(typed(prompt_.field)) != 0) {
        talo::showWarning(this, tr("Password does not match."));
        return;
    }
    switch (libPassword::getPwdProtectionStaus()) {
    case 1:
        libPassword::modifyPwdProtectionStatus(0);
        showProtection(true);
        break;
    case 0:
        libPassword::modifyPwdProtectionStatus(1);
        showProtection(false);
        break;
    default:
        break;
    }
    prompt_.dialog->accept();
}

void Settings::btnCancelPwdClicked()
{
    prompt_.dialog->accept();
}

void Settings::btnCreatePwdClicked()
{
    managePwd_.dialog->accept();
    createPwd_ = talo::createNewPasswordDialog(talo::StoredPassword::None);
    connect(createPwd_.ok, SIGNAL(clicked(bool)), this, SLOT(btnOkCreatePwdClicked()));
    connect(createPwd_.cancel, SIGNAL(clicked(bool)), this, SLOT(btnCancelCreatePwdClicked()));
    talo::runDialog(createPwd_.dialog);
}

void Settings::btnOkCreatePwdClicked()
{
    switch (
        libPassword::createpass(typed(createPwd_.password), typed(createPwd_.confirmation), 0)) {
    case 0:
        talo::showInformation(this, tr("Password has been successfully created."));
        createPwd_.dialog->accept();
        break;
    case 1:
        talo::showWarning(this, tr("Password does not match."));
        break;
    default:
        talo::showWarning(this, tr("Password length should be in between 6 to 15 characters."));
    }
}

void Settings::btnCancelCreatePwdClicked()
{
    createPwd_.dialog->accept();
}

// Unlike creating, changing leaves the dialog under it open.
void Settings::btnChangePwdClicked()
{
    changePwd_ = talo::createNewPasswordDialog(talo::StoredPassword::Exists);
    connect(changePwd_.ok, SIGNAL(clicked(bool)), this, SLOT(btnOkChangePwdClicked()));
    connect(changePwd_.cancel, SIGNAL(clicked(bool)), this, SLOT(btnCancelChangePwdClicked()));
    talo::runDialog(changePwd_.dialog);
}

void Settings::btnOkChangePwdClicked()
{
    switch (libPassword::modifyPassword(typed(changePwd_.current), typed(changePwd_.password),
                                        typed(changePwd_.confirmation))) {
    case 0:
        changePwd_.dialog->accept();
        talo::showInformation(this, tr("Password updated successfully."));
        break;
    case 1:
        talo::showWarning(this, tr("Password does not match."));
        break;
    case 2:
        talo::showWarning(this, tr("Password length is not proper."));
        break;
    default:
        talo::showWarning(this, tr("Old password does not match."));
    }
}

void Settings::btnCancelChangePwdClicked()
{
    changePwd_.dialog->accept();
}

// The answer does not matter to the dialog that asked: it closes in every case.
void Settings::btnResetPwdClicked()
{
    talo::resetPassword(this, talo::FailedReset::Silent);
    managePwd_.dialog->accept();
}
