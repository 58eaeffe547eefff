// Protection against copying to USB storage.
#pragma once

#include <QWidget>

class Datatheft : public QWidget
{
    Q_OBJECT

public:
    explicit Datatheft(QWidget *parent = nullptr);

    // Reloads the USB setting from the engine.
    void UpdateDeviceConfig();

signals:
    void RefreshDashboard();
    void ShowAdvacnedToolsPage();

private:
    void createTop();

    QWidget *top_ = nullptr;
};
