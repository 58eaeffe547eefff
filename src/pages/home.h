// The first page: the protection status, and the ways to the other pages.
#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

class Home : public QWidget
{
    Q_OBJECT

public:
    explicit Home(QWidget *parent = nullptr);

    // Puts the top band into the protected state.
    void setProductStatus();

signals:
    void ShowScanPage();
    void ShowReportPage();
    void ShowSettingsPageForWebAndEmail();
    void ShowUpdatePage();
    void ShowHelpPage();
    void ShowMobileAppPage();
    void ShowWhatsNewPage();
    void ShowAdvancedToolsPage();

private:
    void createTop();
    void createMiddle();
    void createBottom();

    QLabel *lblSecureInfo_ = nullptr;
    QLabel *lblSecureSubInfo_ = nullptr;
    QToolButton *btnSecureLogo_ = nullptr;
    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    QWidget *bottom_ = nullptr;
};
