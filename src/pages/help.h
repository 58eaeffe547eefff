// Help: about the product, questions, live chat and e-mail, on four tabs.
#pragma once

#include <QWidget>

#include <array>

class QLabel;
class QStackedWidget;
class QToolButton;

class Help : public QWidget
{
    Q_OBJECT

public:
    explicit Help(QWidget *parent = nullptr);

public slots:
    void btnAboutClicked();
    void btnFaqClicked();
    void btnLiveChatClicked();
    void btnEmailClicked();
    void btnVisitFaqSectionClicked();
    void btnStartLiveChatSessionClicked();

protected:
    void showEvent(QShowEvent *event) override;

private:
    static constexpr int kTabs = 4;

    void createTop();
    void createMiddle();
    QWidget *createAboutPage();
    QWidget *createFaqPage();
    QWidget *createLiveChatPage();
    QWidget *createEmailPage();
    QToolButton *createTabButton(const QString &name, const QString &text, const char *slot);
    QWidget *createLinkPage(const QString &pageName, const QString &text, QToolButton *link);
    QToolButton *createLink(const QString &name, const QString &text, const char *slot);
    void showTab(int index);

    QWidget *top_ = nullptr;
    QWidget *middle_ = nullptr;
    std::array<QToolButton *, kTabs> tabButtons_{};
    QStackedWidget *tabs_ = nullptr;
    QLabel *lblProductVersion_ = nullptr;
};
