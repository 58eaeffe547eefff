#include "pages/passwordprompt.h"

#include "pages/boxes.h"

#include <QBoxLayout>
#include <QCoreApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

namespace talo
{
namespace
{

QToolButton *createButton(QDialog *dialog, const QString &name, const QString &text)
{
    auto *button = new QToolButton(dialog);
    button->setObjectName(name);
    button->setText(text);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

} // namespace

PasswordPrompt createPasswordPrompt(const PasswordPromptDesign &design)
{
    auto *dialog = new QDialog;
    dialog->setObjectName("dlgManagePwd");
    dialog->setFixedSize(350, 150);
    dialog->setWindowFlags(Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    dialog->setContentsMargins(0, 0, 0, 0);

    auto *label = new QLabel(design.text, dialog);
    label->setObjectName("lblValidatePwd");

    auto *field = new QLineEdit(dialog);
    field->setFixedSize(200, 30);
    field->setEchoMode(QLineEdit::Password);
    field->setAccessibleName(QCoreApplication::translate("PasswordPrompt", "Password"));

    QToolButton *forgot = nullptr;
    if (design.forgot == PasswordPromptDesign::Forgot::Offered) {
        forgot = createButton(dialog, "btnForgotPwd",
                              QCoreApplication::translate("PasswordPrompt", "Forgot password ?"));
    }
    auto *apply = createButton(dialog, design.buttonName,
                               QCoreApplication::translate("PasswordPrompt", "APPLY"));
    auto *cancel = createButton(dialog, design.buttonName,
                                QCoreApplication::translate("PasswordPrompt", "CANCEL"));
    const bool applyFirst = design.order == PasswordPromptDesign::Order::ApplyFirst;

    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(applyFirst ? apply : cancel, 0, Qt::AlignHCenter);
    row->addStretch(1);
    row->addWidget(applyFirst ? cancel : apply, 0, Qt::AlignHCenter);
    row->addStretch(1);

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
    prompt.dialog->exec();
    prompt.dialog->deleteLater();
}

} // namespace talo
