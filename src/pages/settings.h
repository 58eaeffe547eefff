// The protection settings, on three tabs.
#pragma once

#include <QWidget>

class QStackedWidget;
class QToolButton;

class Settings : public QWidget
{
    Q_OBJECT

public:
    explicit Settings(QWidget *parent = nullptr);

    // Reloads every setting from the engine.
    void fillAllSettingsData();

    // The main window opens the page on a tab of its choice.
    QToolButton *scanSettingsButton() const { return btnScanSettings_; }
    QToolButton *webAndEmailSettingsButton() const { return btnWebAndEmailSettings_; }
    QStackedWidget *tabStack() const { return tabs_; }

signals:
    void ShowHomePage();

public slots:
    void btnScanSettingsClicked();
    void btnUpdateSettingsClicked();
    void btnWebAndEmailSettingsClicked();

private:
    void createTop();
    void createMiddle();
    QToolButton *createTabButton(const QString &name, const QString &text, const char *slot);
    void addTab(const QString &name);
    void showTab(QToolButton *button, int index);

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QToolButton *btnScanSettings_ = nullptr;
    QToolButton *btnWebAndEmailSettings_ = nullptr;
    QToolButton *btnUpdateSettings_ = nullptr;
    QStackedWidget *tabs_ = nullptr;
};
