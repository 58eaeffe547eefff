// What is new, as a slide show.
#pragma once

#include <QWidget>

class QLabel;

class WhatsNew : public QWidget
{
    Q_OBJECT

public:
    explicit WhatsNew(QWidget *parent = nullptr);

signals:
    void ShowHomePage();

public slots:
    void changeImg();

private:
    void createTop();
    void createMiddle();
    void startShow();

    int nextSlide_ = 1; // 1 to 4
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QLabel *slide_ = nullptr;
};
