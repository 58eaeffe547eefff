// The list of scheduled scans.
#pragma once

#include <QWidget>

class QTableWidget;
class QToolButton;

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

public slots:
    void btnRemoveSchClicked();
    void btnEditSchClicked();

private:
    void createTop();
    void createMiddle();
    void createBottom();
    void createTable();
    void fillRows(const QString &list);
    QString currentName() const;

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
    QTableWidget *table_ = nullptr;
    QToolButton *btnRemove_ = nullptr;
    QToolButton *btnEdit_ = nullptr;
};
