#include "pages/settingspassworddialogs.h"

#include "pages/boxes.h"
#include "pages/settingswidgets.h"
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
namespace
{

QLabel *createLabel(QDialog *dialog, const QString &text)
{
    auto *label = new QLabel(text, dialog);
    label->setObjectName("lblPwdProtection");
    return label;
}

QToolButton *createButton(QDialog *dialog, const QString &text)
{
    return createTextButton(dialog, "dlgManagePwdBtns", text);
}

// Adds a row of a caption and the field that it names to `column`, and returns the field.
QLineEdit *addField(QVBoxLayout *column, QDialog *dialog, const QString &caption)
{
    auto *field = new QLineEdit(dialog);
    field->setFixedSize(200, 30);
    field->setEchoMode(QLineEdit::Password);
    field->setAccessibleName(caption);

    auto *row = createRow();
    row->addSpacing(20);
    row->addWidget(createLabel(dialog, caption), 0, Qt::AlignLeft);
    row->addStretch(1);
    row->addWidget(field, 0, Qt::AlignRight);
    row->addSpacing(10);
    column->addLayout(row);
    return field;
}

} // namespace

ManagePasswordDialog createManagePasswordDialog()
{
    QDialog *dialog = createSmallDialog("dlgManagePwd");
    QLabel *label =
        createLabel(dialog, QCoreApplication::translate("PasswordDialogs", "Password protection"));
    QToolButton *protection = createSwitch(dialog, "btnPwdConfig", label->text());
    QToolButton *create =
        createButton(dialog, QCoreApplication::translate("PasswordDialogs", "CREATE"));
    QToolButton *reset =
        createButton(dialog, QCoreApplication::translate("PasswordDialogs", "RESET"));
    QToolButton *change =
        createButton(dialog, QCoreApplication::translate("PasswordDialogs", "CHANGE"));

    auto *buttons = createRow();
    buttons->addSpacing(20);
    buttons->addWidget(create, 0, Qt::AlignLeft);
    buttons->addStretch(1);
    buttons->addWidget(reset, 0, Qt::AlignHCenter);
    buttons->addStretch(1);
    buttons->addWidget(change, 0, Qt::AlignHCenter);
    buttons->addStretch(1);

    auto *column = createColumn(dialog);
    column->addSpacing(10);
    column->addLayout(createLabelledRow(label, protection));
    column->addSpacing(20);
    column->addLayout(buttons);
    column->addSpacing(20);
    return {dialog, protection, create, reset, change};
}

void offerPasswordButtons(const ManagePasswordDialog &dialog, StoredPassword stored)
{
    const bool exists = stored == StoredPassword::Exists;
    dialog.create->setVisible(!exists);
    dialog.reset->setVisible(exists);
    dialog.change->setVisible(exists);
}

NewPasswordDialog createNewPasswordDialog(StoredPassword stored)
{
    QDialog *dialog = createSmallDialog("dlgManagePwd");
    auto *column = createColumn(dialog);
    column->addSpacing(10);

    // Three rows leave less room between them than two.
    const int gap = stored == StoredPassword::Exists ? 10 : 20;
    QLineEdit *current = nullptr;
    if (stored == StoredPassword::Exists) {
        current =
            addField(column, dialog, QCoreApplication::translate("PasswordDialogs", "Current"));
        column->addSpacing(gap);
    }
    QLineEdit *password =
        addField(column, dialog, QCoreApplication::translate("PasswordDialogs", "New"));
    column->addSpacing(gap);
    QLineEdit *confirmation =
        addField(column, dialog, QCoreApplication::translate("PasswordDialogs", "Confirm"));
    column->addSpacing(gap);

    QToolButton *cancel =
        createButton(dialog, QCoreApplication::translate("PasswordDialogs", "CANCEL"));
    QToolButton *ok = createButton(dialog, QCoreApplication::translate("PasswordDialogs", "OK"));
    auto *buttons = createRow();
    addSpread(buttons, {cancel, ok}, Qt::AlignHCenter);
    column->addLayout(buttons);
    column->addSpacing(gap);
    return {dialog, current, password, confirmation, ok, cancel};
}

} // namespace talo
