// Protection against copying to USB storage.
#pragma once

#include "pages/passwordprompt.h"

#include <QWidget>

class QBoxLayout;
class QLabel;
class QRadioButton;

class Datatheft : public QWidget
{
    Q_OBJECT

public:
    explicit Datatheft(QWidget *parent = nullptr);

    // Reloads the USB setting from the engine.
    void UpdateDeviceConfig();

    // Asks for the settings password; the choice is applied when it is right.
    void validatePwd();

signals:
    void RefreshDashboard();
    void ShowAdvacnedToolsPage();

private slots:
    void btnApplyClicked();
    void btnApplyPwdClikced();
    void btnCancelPwdClicked();

private:
    void createTop();
    void createMiddle();
    void createBottom();
    QWidget *createOptions();
    QBoxLayout *createChoice(QWidget *options);
    QBoxLayout *createState(QWidget *options);
    void showState(bool blocked);

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QRadioButton *fullAccess_ = nullptr;
    QRadioButton *disableUsb_ = nullptr;
    QLabel *state_ = nullptr;
    QLabel *hint_ = nullptr;
    talo::PasswordPrompt prompt_;
};
