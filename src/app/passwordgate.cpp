// The password gate in front of the settings.
#include "app/app.h"

#include "engine/libpassword.h"
#include "engine/product_registration.h"
#include "pages/messages.h"

#include <QDialog>
#include <QLineEdit>
#include <QToolButton>

namespace
{

constexpr int kResetPasswordOperation = 70;

} // namespace

// Asks for the password where one guards the settings.
bool TaloAntivirus_Linux_App::mayOpenSettings()
{
    if (libPassword::IsPasswordExists() != 0 || libPassword::getPwdProtectionStaus() != 1) {
        return true;
    }
    validatePwd();
    if (passwordValidated_ != 1) {
        refershDashBoard();
        return false;
    }
    passwordValidated_ = 0;
    return true;
}

void TaloAntivirus_Linux_App::validatePwd()
{
    prompt_ = talo::createPasswordPrompt({tr("Please enter the password to\nto access settings."),
                                          "btnApplyPwdForValidate",
                                          talo::PasswordPromptDesign::Forgot::Offered,
                                          talo::PasswordPromptDesign::Order::ApplyFirst});
    connect(prompt_.forgot, SIGNAL(clicked(bool)), this, SLOT(btnForgotPwdClicked()));
    connect(prompt_.apply, SIGNAL(clicked(bool)), this, SLOT(btnApplyPwdClikced()));
    connect(prompt_.cancel, SIGNAL(clicked(bool)), this, SLOT(btnCancelPwdClicked()));
    talo::runPasswordPrompt(prompt_);
}

void TaloAntivirus_Linux_App::btnApplyPwdClikced()
{
    if (libPassword::ValidatePassword(prompt_.field->text().toStdString()) != 0) {
        talo::showWarning(this, tr("Password does not match."));
        return;
    }
    passwordValidated_ = 1;
    prompt_.dialog->accept();
}

void TaloAntivirus_Linux_App::btnCancelPwdClicked()
{
    prompt_.dialog->accept();
    refershDashBoard();
}

void TaloAntivirus_Linux_App::btnForgotPwdClicked()
{
    prompt_.dialog->accept();
    if (!talo::askYesNo(this, tr("Are you sure you want to reset the password? You will receive "
                                 "the new password on your registerd email-id"))) {
        return;
    }
    switch (product_registration(kResetPasswordOperation)) {
    case 4097:
    case 4166:
        talo::showInformation(this, tr("Password has been sent on registered email."));
        break;
    case 101:
        talo::showWarning(this, tr("No Internet connection was found. Please check your "
                                   "connection and try again."));
        break;
    case -1:
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 16:
    case 17:
    case 19:
    case 20:
    case 21:
        talo::showWarning(this, tr("The password could not be reset. Please contact support."));
        break;
    default:
        break;
    }
}
