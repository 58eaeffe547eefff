// Updates of the signatures and of the program: their versions, and a start for each kind.
#pragma once

#include <QWidget>

class QLabel;
class QVBoxLayout;

class Update : public QWidget
{
    Q_OBJECT

public:
    explicit Update(QWidget *parent = nullptr);

    // Reloads the versions from the engine.
    void setUpdateStatusInfo();

signals:
    void ShowHomePage();

public slots:
    void btnUpdateVirusSigClicked();
    void btnUpdateProdVerClicked();
    void updateStatusInfo();

private:
    void createTop();
    void createMiddle();
    QVBoxLayout *createSignatureColumn(QWidget *container);
    QVBoxLayout *createProductColumn(QWidget *container);
    void startUnlessRunning(const char *kind, const QString &program, const QString &warning);

    QLabel *lblSigLastUpdate_ = nullptr;
    QLabel *lblProdLastUpdate_ = nullptr;
    QLabel *lblProdVersion_ = nullptr;
    QLabel *lblSigVersion_ = nullptr;
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
};
