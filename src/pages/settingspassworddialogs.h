// The dialogs in which the settings password is managed, created and changed.
#pragma once

#include <QPointer>
#include <QString>

class QDialog;
class QLineEdit;
class QToolButton;

namespace talo
{

// The caller connects clicked(bool) of the buttons to slots of its own, here and below. The
// pointers turn null once the dialog is gone.
struct ManagePasswordDialog {
    QPointer<QDialog> dialog;
    QPointer<QToolButton> protection; // the switch
    QPointer<QToolButton> create;
    QPointer<QToolButton> reset;
    QPointer<QToolButton> change;
};

ManagePasswordDialog createManagePasswordDialog();

enum class StoredPassword { None, Exists };

// Offers what can be done: creating a password, or resetting and changing the one there is.
void offerPasswordButtons(const ManagePasswordDialog &dialog, StoredPassword stored);

struct NewPasswordDialog {
    QPointer<QDialog> dialog;
    QPointer<QLineEdit> current; // null where the first password is created
    QPointer<QLineEdit> password;
    QPointer<QLineEdit> confirmation;
    QPointer<QToolButton> ok;
    QPointer<QToolButton> cancel;
};

NewPasswordDialog createNewPasswordDialog(StoredPassword stored);

} // namespace talo
