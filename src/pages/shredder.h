// The destruction of files beyond recovery.
#pragma once

#include <QWidget>

class Shredder : public QWidget
{
    Q_OBJECT

public:
    explicit Shredder(QWidget *parent = nullptr);

signals:
    void ShowAdvacnedToolsPage();

private:
    void createTop();

    QWidget *top_ = nullptr;
};
