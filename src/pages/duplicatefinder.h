// The search for files with equal content.
#pragma once

#include <QWidget>

class DuplicateFinder : public QWidget
{
    Q_OBJECT

public:
    explicit DuplicateFinder(QWidget *parent = nullptr);

signals:
    void ShowAdvacnedToolsPage();
    void SendDupCurFilePath(char *path);

private:
    void createTop();

    QWidget *top_ = nullptr;
};
