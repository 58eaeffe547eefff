// The companion app for mobile phones and the stores that have it.
#pragma once

#include <QWidget>

class QToolButton;

class MobileApp : public QWidget
{
    Q_OBJECT

public:
    explicit MobileApp(QWidget *parent = nullptr);

signals:
    void ShowHomePage();

public slots:
    void btnAppStoreClicked();
    void btnGooglPlayStoreClicked();
    void btnWindowStoreClicked();

private:
    void createTop();
    void createMiddle();
    QWidget *createStores();
    QToolButton *createBadge(QWidget *box, const QString &name, const QString &store,
                             const char *slot);

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
};
