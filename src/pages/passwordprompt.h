// The dialog that asks for the settings password.
#pragma once

#include <QPointer>
#include <QString>

class QDialog;
class QLineEdit;
class QToolButton;

namespace talo
{

struct PasswordPromptDesign {
    enum class Forgot { Offered, Absent };
    enum class Order { ApplyFirst, CancelFirst };

    QString text;
    QString buttonName; // object name of both APPLY and CANCEL
    Forgot forgot = Forgot::Absent;
    Order order = Order::ApplyFirst;
};

// The caller connects clicked(bool) of the buttons to slots of its own. The pointers turn null
// once the dialog is gone.
struct PasswordPrompt {
    QPointer<QDialog> dialog;
    QPointer<QLineEdit> field;
    QPointer<QToolButton> apply;
    QPointer<QToolButton> cancel;
    QPointer<QToolButton> forgot; // null when not offered
};

// Builds the prompt without parent.
PasswordPrompt createPasswordPrompt(const PasswordPromptDesign &design);

// Runs the prompt until it closes, then frees it and the password typed into it.
void runPasswordPrompt(const PasswordPrompt &prompt);

} // namespace talo
