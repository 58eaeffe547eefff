#include "pages/datatheft.h"

#include "engine/libpassword.h"
#include "engine/libsettings.h"
#include "pages/band.h"
#include "pages/boxes.h"
#include "pages/headerband.h"
#include "pages/messages.h"
#include "pages/textbutton.h"

#include <QBoxLayout>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QToolButton>

namespace
{

enum DeviceControl { FullAccess = 0, Blocked = 1 }; // the engine's values

bool passwordExists()
{
    return libPassword::IsPasswordExists() == 0;
}

QLabel *createLabel(QWidget *parent, const char *name, const QString &text)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(name);
    return label;
}

} // namespace

Datatheft::Datatheft(QWidget *parent) : QWidget(parent)
{
    setFixedSize(650, 420);
    setObjectName("mobileapp");
    createTop();
    createMiddle();
    createBottom();

    auto *column = talo::createColumn(this);
    column->addSpacing(5);
    column->addWidget(top_);
    column->addStretch(1);
    column->addWidget(middle_);
    column->addWidget(bottom_);
    setContentsMargins(0, 0, 0, 0);
}

void Datatheft::createTop()
{
    const talo::HeaderBand header = talo::createHeaderBand(this, tr("Data Theft"), 150);
    connect(header.back, SIGNAL(clicked(bool)), this, SIGNAL(ShowAdvacnedToolsPage()));
    top_ = header.band;
}

void Datatheft::createMiddle()
{
    middle_ = talo::createBand(this, "datatheftmiddle", 300);

    // The text is for who cannot see the picture; the button draws the picture alone.
    QToolButton *icon =
        talo::createPicture(middle_, "iconDataTheft", 50,
                            tr("  Data theft protection block unathorized copying of data from\n"
                               "  your computer to unauthorized USB drives."),
                            Qt::ToolButtonIconOnly);

    auto *iconRow = talo::createRow();
    iconRow->addStretch(1);
    iconRow->addWidget(icon);
    iconRow->addStretch(1);

    auto *column = talo::createColumn(middle_);
    column->addSpacing(15);
    column->addLayout(iconRow);
    column->addSpacing(32);
    column->addWidget(createOptions());
}

QWidget *Datatheft::createOptions()
{
    QWidget *options = talo::createBand(middle_, "updatecontainer", 200);

    auto *row = talo::createRow(options);
    row->addStretch(1);
    row->addLayout(createChoice(options));
    row->addStretch(1);
    row->addLayout(createState(options));
    row->addStretch(1);
    return options;
}

QBoxLayout *Datatheft::createChoice(QWidget *options)
{
    fullAccess_ = new QRadioButton(tr("Full Access"), options);
    disableUsb_ = new QRadioButton(tr("Disable USB"), options);

    auto *column = talo::createColumn();
    column->addSpacing(20);
    column->addWidget(createLabel(options, "lblLInfo", tr("USB storage device access")));
    column->addStretch(1);
    column->addWidget(fullAccess_);
    column->addSpacing(5);
    column->addWidget(disableUsb_);
    column->addStretch(1);
    return column;
}

QBoxLayout *Datatheft::createState(QWidget *options)
{
    state_ = createLabel(options, "lblRRInfo", tr("ON"));
    hint_ =
        createLabel(options, "lblRSubInfo",
                    tr("Currently you have not set password for Data theft\nprotection. Create it "
                       "from settings->Manage password."));

    auto *row = talo::createRow();
    row->addWidget(createLabel(options, "lblRLInfo", tr("Data theft protection is turned")));
    row->addSpacing(2);
    row->addWidget(state_);
    row->addStretch(1);

    auto *column = talo::createColumn();
    column->addSpacing(20);
    column->addLayout(row);
    column->addStretch(1);
    column->addWidget(hint_);
    column->addStretch(1);
    return column;
}

void Datatheft::createBottom()
{
    bottom_ = talo::createBand(this, "datatheftbottom", 50);

    auto *apply = talo::createTextButton(bottom_, "", tr("APPLY"));
    connect(apply, SIGNAL(clicked(bool)), this, SLOT(btnApplyClicked()));

    auto *row = talo::createRow(bottom_);
    row->addStretch(1);
    row->addWidget(apply);
    row->addSpacing(20);
}

void Datatheft::UpdateDeviceConfig()
{
    if (passwordExists()) {
        hint_->setText(tr("You have configured password for Data Theft\nprotection. You can change "
                          "or reset it from settings."));
    } else {
        hint_->setText(tr("Currently you have not set password for\nData theft protection. Create "
                          "it from settings."));
    }

    int control = FullAccess;
    libSettings::GetDeviceControlSetting(&control);
    if (control == Blocked) {
        disableUsb_->setChecked(true);
        showState(true);
    } else if (control == FullAccess) {
        fullAccess_->setChecked(true);
        showState(false);
    }
}

void Datatheft::showState(bool blocked)
{
    state_->setText(blocked ? tr("ON") : tr("OFF"));
}

void Datatheft::btnApplyClicked()
{
    if (!passwordExists()) {
        talo::showWarning(this, tr("To use this feature, Please create password first from "
                                   "settings.\n\nGo to settings -> Manage password"));
        return;
    }
    validatePwd();
}

void Datatheft::validatePwd()
{
    prompt_ =
        talo::createPasswordPrompt({tr("Please enter the password to\napply the changes"),
                                    "dlgManagePwdBtns", talo::PasswordPromptDesign::Forgot::Absent,
                                    talo::PasswordPromptDesign::Order::ApplyFirst});
    connect(prompt_.apply, SIGNAL(clicked(bool)), this, SLOT(btnApplyPwdClikced()));
    connect(prompt_.cancel, SIGNAL(clicked(bool)), this, SLOT(btnCancelPwdClicked()));
    talo::runPasswordPrompt(prompt_);
}

void Datatheft::btnApplyPwdClikced()
{
    if (libPassword::ValidatePassword(prompt_.field->text().toStdString()) != 0) {
        talo::showWarning(this, tr("Password does not match."));
        return;
    }
    if (fullAccess_->isChecked()) {
        libSettings::ApplyDeviceControlSetting(FullAccess);
        showState(false);
    } else if (disableUsb_->isChecked()) {
        libSettings::ApplyDeviceControlSetting(Blocked);
        showState(true);
    }
    prompt_.dialog->accept();
}

void Datatheft::btnCancelPwdClicked()
{
    prompt_.dialog->accept();
    emit RefreshDashboard();
}
