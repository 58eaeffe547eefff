// The list of scheduled scans.
#pragma once

#include <QWidget>

class ScheduleScan : public QWidget
{
    Q_OBJECT

public:
    explicit ScheduleScan(QWidget *parent = nullptr);

    // Reloads what the page shows from the engine.
    void fillAllSchTabelData();

signals:
    void ShowScanPage();
    void ShowConfigureScheduleScanPage();
    void EditConfigureScheduleScan(QString name, int type, int weekday, int hour, int minute);

private:
    void createTop();

    QWidget *top_ = nullptr;
};
