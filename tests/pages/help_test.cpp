// The help page: its tabs, and the web pages that two of them open.
#include "pages/help.h"
#include "support/browser.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::Browser;
using talo::test::click;
using talo::test::layoutOf;
using talo::test::ScriptedEngine;

namespace
{

const QStringList kTabs = {"btnAbout", "btnFaq", "btnLiveChat", "btnEmail"};

} // namespace

class HelpTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresItsSlots();
    void isLaidOut();
    void textsAreAsWritten();
    void clickShowsTab_data();
    void clickShowsTab();
    void secondClickKeepsTab_data() { clickShowsTab_data(); }
    void secondClickKeepsTab();
    void tabOutlivesPageChange();
    void linksOpenOnePage_data();
    void linksOpenOnePage();
    void showsVersionOfEngine();
    void keepsVersionThatEngineDoesNotKnow();

private:
    QToolButton *tab(const QString &name) const { return page_->findChild<QToolButton *>(name); }
    QStackedWidget *stack() const { return page_->findChild<QStackedWidget *>(); }
    QStringList checkedTabs() const;

    std::unique_ptr<Help> page_;
};

void HelpTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Help>(nullptr);
    page_->show();
}

QStringList HelpTest::checkedTabs() const
{
    QStringList checked;
    for (const QString &name : kTabs)
        if (tab(name)->isChecked())
            checked << name;
    return checked;
}

void HelpTest::declaresItsSlots()
{
    QCOMPARE(talo::test::signalsOf(Help::staticMetaObject), QStringList());
    QCOMPARE(talo::test::slotsOf(Help::staticMetaObject),
             QStringList({"btnAboutClicked()", "btnFaqClicked()", "btnLiveChatClicked()",
                          "btnEmailClicked()", "btnVisitFaqSectionClicked()",
                          "btnStartLiveChatSessionClicked()"}));
}

void HelpTest::isLaidOut()
{
    QCOMPARE(page_->objectName(), QString("home"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()), QStringList({"widget QWidget", "widget helpmiddle"}));
    auto *middle = page_->findChild<QWidget *>("helpmiddle");
    QCOMPARE(middle->minimumSize(), QSize(650, 400));
    QCOMPARE(stack()->minimumSize(), QSize(650, 350));
    QStringList panels;
    for (int i = 0; i < stack()->count(); ++i)
        panels << stack()->widget(i)->objectName();
    QCOMPARE(panels,
             QStringList({"objAboutPage", "objFaqPage", "objLiveChatPage", "objEmailPage"}));
    auto *title = page_->findChild<QToolButton *>("helpPageTitle");
    QCOMPARE(title->text(), QString(" Help"));
    QCOMPARE(title->iconSize(), QSize(20, 20));
    QCOMPARE(title->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    for (const QString &name : kTabs)
        QCOMPARE(tab(name)->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(checkedTabs(), QStringList("btnAbout"));
    QCOMPARE(stack()->currentIndex(), 0);
}

void HelpTest::textsAreAsWritten()
{
    const auto textIn = [this](int panel) {
        return stack()->widget(panel)->findChild<QLabel *>()->text();
    };
    QCOMPARE(page_->findChild<QLabel *>("lblAboutStyle")->text(), QString("Product Version"));
    QVERIFY(!page_->findChild<QLabel *>("lblWarning")->text().isEmpty());
    QCOMPARE(textIn(1), QString("The FAQ section of TALO Antivirus provides answer to some of the "
                                "most\ncommon queries of the users which can be related to "
                                "anything such as how\nto install the Antivirus, what are the "
                                "benefits of an Antivirus, the version on\nwhich the antivirus "
                                "will run and many more. This section will clear all your\ndoubts "
                                "and increase your knowledge regarding Antivirus."));
    QCOMPARE(textIn(2), QString("We are here to help you !\n\nTALO Antivirus 24x7 support team "
                                "will provide instant support for all your\nqueries.\n\nReach us "
                                "via live chat"));
    const QString email = "Looking for an anwser?\n\nIf you are not able to find the information "
                          "that you need\nplease submit your query to us\n\nWe would love to "
                          "solve it and provide you with the best\nsolutions!\n\n\nWrite to us: ";
    QVERIFY(textIn(3).startsWith(email));
    QVERIFY(textIn(3).mid(email.size()).contains('@'));
}

void HelpTest::clickShowsTab_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("index");
    QTest::newRow("about") << "btnAbout"
                           << "About" << 0;
    QTest::newRow("faq") << "btnFaq"
                         << "FAQ" << 1;
    QTest::newRow("live chat") << "btnLiveChat"
                               << "Live Chat" << 2;
    QTest::newRow("email") << "btnEmail"
                           << "Email" << 3;
}

void HelpTest::clickShowsTab()
{
    QFETCH(QString, name);
    QTEST(tab(name)->text(), "text");
    for (const QString &before : kTabs) {
        QVERIFY(click(tab(before)));
        QVERIFY(click(tab(name)));
        QTEST(stack()->currentIndex(), "index");
        QCOMPARE(checkedTabs(), QStringList(name));
    }
}

void HelpTest::secondClickKeepsTab()
{
    QFETCH(QString, name);
    QVERIFY(click(tab(name)));
    QVERIFY(click(tab(name)));
    QCOMPARE(checkedTabs(), QStringList(name));
    QTEST(stack()->currentIndex(), "index");
}

void HelpTest::tabOutlivesPageChange()
{
    QVERIFY(click(tab("btnLiveChat")));
    page_->hide();
    page_->show();
    QCOMPARE(checkedTabs(), QStringList("btnLiveChat"));
    QCOMPARE(stack()->currentIndex(), 2);
}

void HelpTest::linksOpenOnePage_data()
{
    QTest::addColumn<QString>("tabName");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("path");
    QTest::newRow("faq") << "btnFaq"
                         << "btnVisitFaqSection"
                         << "Visit FAQ Section"
                         << "/en/support/antivirus-faq";
    QTest::newRow("chat") << "btnLiveChat"
                          << "btnStartLiveChatSession"
                          << "Start Live Chat Now"
                          << "/en/support";
}

void HelpTest::linksOpenOnePage()
{
    QFETCH(QString, tabName);
    QFETCH(QString, name);
    const Browser browser;
    QVERIFY(click(tab(tabName)));
    auto *link = page_->findChild<QToolButton *>(name);
    QTEST(link->text(), "text");
    QCOMPARE(link->toolButtonStyle(), Qt::ToolButtonTextOnly);
    QCOMPARE(link->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(click(link));
    QCOMPARE(browser.opened().size(), 1);
    QCOMPARE(browser.opened().first().scheme(), QString("https"));
    QTEST(browser.opened().first().path(), "path");
}

void HelpTest::showsVersionOfEngine()
{
    ScriptedEngine::instance().answer("GetProductUpdateInfo", {0, {"2.3.4.5"}});
    page_->hide();
    page_->show();
    QVERIFY(stack()->widget(0)->findChildren<QLabel *>().at(1)->text() == "2.3.4.5");
}

void HelpTest::keepsVersionThatEngineDoesNotKnow()
{
    QCOMPARE(stack()->widget(0)->findChildren<QLabel *>().at(1)->text(), QString("1.0.0.0"));
}

QTEST_MAIN(HelpTest)
#include "help_test.moc"
