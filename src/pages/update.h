// Updates of the signatures and of the program.
#pragma once

#include <QWidget>

class Update : public QWidget
{
    Q_OBJECT

public:
    explicit Update(QWidget *parent = nullptr);

    // Reloads the versions from the engine.
    void setUpdateStatusInfo();

signals:
    void ShowHomePage();

private:
    void createTop();

    QWidget *top_ = nullptr;
};
