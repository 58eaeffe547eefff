// The first page.
#include "pages/home.h"
#include "support/widgets.h"

#include <QLabel>
#include <QLayout>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::layoutOf;

class HomeTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsInOrder();
    void isLaidOutAsDesigned();
    void bandsHaveTheirPlaces();
    void statesProtection();
    void buttonsEmitTheirSignal_data();
    void buttonsEmitTheirSignal();
    void assertsProtectionAgain();

private:
    std::unique_ptr<Home> page_;
};

void HomeTest::init()
{
    page_ = std::make_unique<Home>(nullptr);
    page_->show();
}

void HomeTest::declaresSignalsInOrder()
{
    QCOMPARE(talo::test::signalsOf(Home::staticMetaObject),
             QStringList({"ShowScanPage()", "ShowReportPage()", "ShowSettingsPageForWebAndEmail()",
                          "ShowUpdatePage()", "ShowHelpPage()", "ShowMobileAppPage()",
                          "ShowWhatsNewPage()", "ShowAdvancedToolsPage()"}));
}

void HomeTest::isLaidOutAsDesigned()
{
    QCOMPARE(page_->objectName(), QString("home"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 10", "widget QWidget", "spacing 10", "widget homemiddle",
                          "spacing 10", "widget homebottom", "spacing 5"}));
    const QWidget *top = page_->layout()->itemAt(1)->widget();
    QCOMPARE(layoutOf(top), QStringList({"spacing 40", "widget btnSecureLogo", "spacing 10",
                                         "column [stretch, widget lblSecureInfo, spacing 5, "
                                         "widget lblSecureSubInfo, stretch]",
                                         "stretch", "spacing 30"}));
    QCOMPARE(layoutOf(page_->findChild<QWidget *>("homemiddle")),
             QStringList({"stretch", "widget btnScan", "stretch", "widget btnUpdate", "stretch",
                          "widget btnWebAndEmail", "stretch", "widget btnReport", "stretch"}));
    QCOMPARE(layoutOf(page_->findChild<QWidget *>("homebottom")),
             QStringList({"stretch", "widget btnMobileApps", "stretch", "widget btnWhatsNew",
                          "stretch", "widget btnAdvancedTools", "stretch"}));
}

void HomeTest::bandsHaveTheirPlaces()
{
    const QWidget *top = page_->layout()->itemAt(1)->widget();
    const auto *middle = page_->findChild<QWidget *>("homemiddle");
    const auto *bottom = page_->findChild<QWidget *>("homebottom");
    QCOMPARE(top->size(), QSize(650, 100));
    QCOMPARE(middle->size(), QSize(650, 200));
    QCOMPARE(bottom->size(), QSize(650, 100));
    for (const QWidget *band : {top, middle, bottom}) {
        QCOMPARE(band->minimumSize(), band->maximumSize());
        QCOMPARE(band->contentsMargins(), QMargins());
        QCOMPARE(band->layout()->contentsMargins(), QMargins());
        QCOMPARE(band->layout()->spacing(), 0);
        QCOMPARE(band->x(), 0);
    }
    QCOMPARE(page_->layout()->contentsMargins(), QMargins());
    QCOMPARE(page_->layout()->spacing(), 0);
}

void HomeTest::statesProtection()
{
    QCOMPARE(page_->findChild<QLabel *>("lblSecureInfo")->text(), QString("You are protected"));
    QCOMPARE(page_->findChild<QLabel *>("lblSecureSubInfo")->text(),
             QString(" No additional action required"));
    auto *logo = page_->findChild<QToolButton *>("btnSecureLogo");
    QCOMPARE(logo->iconSize(), QSize(50, 50));
    QCOMPARE(logo->toolButtonStyle(), Qt::ToolButtonIconOnly);
    QVERIFY(logo->isVisible());
}

void HomeTest::buttonsEmitTheirSignal_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<bool>("tile");
    QTest::newRow("btnScan") << "\nScan" << QByteArray("ShowScanPage()") << true;
    QTest::newRow("btnUpdate") << "\nUpdate" << QByteArray("ShowUpdatePage()") << true;
    QTest::newRow("btnWebAndEmail")
        << "\nWeb/Email" << QByteArray("ShowSettingsPageForWebAndEmail()") << true;
    QTest::newRow("btnReport") << "\nReport" << QByteArray("ShowReportPage()") << true;
    QTest::newRow("btnMobileApps") << " Mobile App" << QByteArray("ShowMobileAppPage()") << false;
    QTest::newRow("btnWhatsNew") << " What's New" << QByteArray("ShowWhatsNewPage()") << false;
    QTest::newRow("btnAdvancedTools")
        << " Advanced Tools" << QByteArray("ShowAdvancedToolsPage()") << false;
}

// The button's own signal is sent once, and no other of the page.
void HomeTest::buttonsEmitTheirSignal()
{
    QFETCH(QByteArray, signal);
    QFETCH(bool, tile);
    auto *button = page_->findChild<QToolButton *>(QTest::currentDataTag());
    QTEST(button->text(), "text");
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(button->toolButtonStyle(),
             tile ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonTextBesideIcon);
    if (!tile) {
        QCOMPARE(button->iconSize(), QSize(40, 40));
    }
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    for (const QString &declared : talo::test::signalsOf(Home::staticMetaObject)) {
        spies.push_back(
            std::make_unique<QSignalSpy>(page_.get(), ("2" + declared).toLatin1().constData()));
    }
    QVERIFY(talo::test::click(button));
    for (const auto &spy : spies) {
        QCOMPARE(spy->count(), spy->signal() == signal ? 1 : 0);
    }
}

void HomeTest::assertsProtectionAgain()
{
    auto *heading = page_->findChild<QLabel *>("lblSecureInfo");
    heading->setText("changed");
    heading->hide();
    page_->findChild<QToolButton *>("btnSecureLogo")->hide();
    page_->setProductStatus();
    statesProtection();
    QVERIFY(heading->isVisible());
}

QTEST_MAIN(HomeTest)
#include "home_test.moc"
