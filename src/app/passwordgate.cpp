// The password gate in front of the settings.
#include "app/app.h"

#include "engine/libpassword.h"
#include "pages/messages.h"
#include "pages/passwordreset.h"

#include <QDialog>
#include <QLineEdit>
#include <QToolButton>

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
    talo::resetPassword(this, talo::FailedReset::Reported);
}
