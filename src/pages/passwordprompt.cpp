#include "pages/passwordprompt.h"

#include "pages/boxes.h"
#include "pages/smalldialog.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

namespace talo
{

PasswordPrompt createPasswordPrompt(const PasswordPromptDesign &design)
{
    QDialog *dialog = createSmallDialog("dlgManagePwd");

    auto *label = new QLabel(design.text, dialog);
    label->setObjectName("lblValidatePwd");

    auto *field = new QLineEdit(dialog);
    field->setFixedSize(200, 30);
    field->setEchoMode(QLineEdit::Password);
    field->setAccessibleName(QCoreApplication::translate("PasswordPrompt", "Password"));

    QToolButton *forgot = nullptr;
    if (design.forgot == PasswordPromptDesign::Forgot::Offered) {
        forgot =
            createTextButton(dialog, "btnForgotPwd",
                             QCoreApplication::translate("PasswordPrompt", "Forgot password ?"));
    }
    auto *apply = createTextButton(dialog, design.buttonName,
                                   QCoreApplication::translate("PasswordPrompt", "APPLY"));
    auto *cancel = createTextButton(dialog, design.buttonName,
                                    QCoreApplication::translate("PasswordPrompt", "CANCEL"));

    auto *row = new QHBoxLayout;
    if (design.order == PasswordPromptDesign::Order::ApplyFirst) {
        addSpread(row, {apply, cancel}, Qt::AlignHCenter);
    } else {
        addSpread(row, {cancel, apply}, Qt::AlignHCenter);
        QWidget::setTabOrder(cancel, apply); // as the eye goes
    }

    auto *column = createColumn(dialog);
    column->addSpacing(5);
    column->addWidget(label, 0, Qt::AlignHCenter);
    column->addSpacing(5);
    column->addWidget(field, 0, Qt::AlignHCenter);
    if (forgot) {
        column->addSpacing(5);
        column->addWidget(forgot, 0, Qt::AlignHCenter);
        column->addSpacing(5);
    } else {
        column->addSpacing(10);
    }
    column->addLayout(row);
    column->addSpacing(10);
    return {dialog, field, apply, cancel, forgot};
}

void runPasswordPrompt(const PasswordPrompt &prompt)
{
    runDialog(prompt.dialog);
}

} // namespace talo
