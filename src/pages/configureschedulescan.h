// The editor of one scheduled scan.
#pragma once

#include <QWidget>

class ConfigureScheduleScan : public QWidget
{
    Q_OBJECT

public:
    explicit ConfigureScheduleScan(QWidget *parent = nullptr);

    // Readies the editor for a new schedule.
    void clearAllDataFields();

    // Readies the editor for a change of the schedule `name`. `type` is 1 quick, 2 full scan;
    // `weekday` 0 Sunday to 6 Saturday, 8 for a daily scan.
    void setAllDataFieldsToEdit(QString name, int type, int weekday, int hour, int minute);

signals:
    void ShowScheduleScanPage();

private:
    void createTop();

    QWidget *top_ = nullptr;
};
