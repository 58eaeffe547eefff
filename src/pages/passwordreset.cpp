#include "pages/passwordreset.h"

#include "engine/product_registration.h"
#include "pages/messages.h"

#include <QCoreApplication>

namespace talo
{
namespace
{

constexpr int kResetPasswordOperation = 70;

enum class Outcome { Sent, NoConnection, Refused, Unknown };

Outcome requestNewPassword()
{
    switch (product_registration(kResetPasswordOperation)) {
    case 4097:
    case 4166:
        return Outcome::Sent;
    case 101:
        return Outcome::NoConnection;
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
        return Outcome::Refused;
    default:
        return Outcome::Unknown;
    }
}

} // namespace

void resetPassword(QWidget *parent, FailedReset failed)
{
    if (!askYesNo(parent, QCoreApplication::translate(
                              "PasswordReset",
                              "Are you sure you want to reset the password? You will receive the "
                              "new password on your registerd email-id"))) {
        return;
    }
    switch (requestNewPassword()) {
    case Outcome::Sent:
        showInformation(parent,
                        QCoreApplication::translate("PasswordReset",
                                                    "Password has been sent on registered email."));
        break;
    case Outcome::NoConnection:
        showWarning(parent, QCoreApplication::translate(
                                "PasswordReset", "No Internet connection was found. Please check "
                                                 "your connection and try again."));
        break;
    case Outcome::Refused:
        if (failed == FailedReset::Reported) {
            showWarning(parent, QCoreApplication::translate(
                                    "PasswordReset",
                                    "The password could not be reset. Please contact support."));
        }
        break;
    case Outcome::Unknown:
        break;
    }
}

} // namespace talo
