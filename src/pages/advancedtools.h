// The hub that leads to the three tools.
#pragma once

#include <QWidget>

class AdvancedTools : public QWidget
{
    Q_OBJECT

public:
    explicit AdvancedTools(QWidget *parent = nullptr);

signals:
    void ShowShredderPage();
    void ShowDuplicateFinderPage();
    void ShowDataTheftPage();
    void ShowHomePage();

private:
    void createTop();
    void createMiddle();
    void createBottom();

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
};
