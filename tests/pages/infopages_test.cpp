// The pages on the mobile app and on what is new. Time passes by the timer's own signal.
#include "pages/mobileapp.h"
#include "pages/whatsnew.h"
#include "support/browser.h"
#include "support/widgets.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

using talo::test::Browser;
using talo::test::click;
using talo::test::layoutOf;

namespace
{

const QStringList kHeader = {"spacing 10", "widget QToolButton", "spacing 120", "widget QLabel",
                             "stretch"};

QString slideShown(const WhatsNew &page)
{
    for (const QLabel *label : page.findChildren<QLabel *>()) {
        const QPixmap shown = label->pixmap(Qt::ReturnByValue);
        for (const char *name : {"first", "second", "third", "fourth"})
            if (!shown.isNull() &&
                shown.toImage() == QPixmap(QString(":/res/icon/%1.png").arg(name)).toImage())
                return name;
    }
    return "none";
}

} // namespace

class InfoPagesTest : public QObject
{
    Q_OBJECT

private slots:
    void mobileAppIsLaidOut();
    void badgesOpenOnePage_data();
    void badgesOpenOnePage();
    void whatsNewIsLaidOut();
    void slidesFollowTheClock();
    void slidesGoOnUnseen();
    void backLeadsHome();
};

void InfoPagesTest::mobileAppIsLaidOut()
{
    MobileApp page(nullptr);
    QCOMPARE(page.objectName(), QString("mobileapp"));
    QCOMPARE(page.minimumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(&page),
             QStringList({"spacing 5", "widget scantop", "stretch", "widget scheduelscanmiddle"}));
    QCOMPARE(layoutOf(page.findChild<QWidget *>("scantop")), kHeader);
    auto *middle = page.findChild<QWidget *>("scheduelscanmiddle");
    QCOMPARE(middle->minimumSize(), QSize(650, 370));
    QCOMPARE(layoutOf(middle),
             QStringList({"stretch", "row [stretch, widget iconMobileApp, stretch]", "stretch",
                          "widget updatecontainer"}));
    auto *stores = page.findChild<QWidget *>("updatecontainer");
    QCOMPARE(stores->minimumSize(), QSize(650, 255));
    QCOMPARE(layoutOf(stores),
             QStringList({"stretch",
                          "row [stretch, widget btnAppStore, stretch, widget btnGooglPlayStore, "
                          "stretch, widget btnWindowStore, stretch]",
                          "stretch"}));
    auto *icon = page.findChild<QToolButton *>("iconMobileApp");
    QCOMPARE(icon->iconSize(), QSize(50, 50));
    QCOMPARE(icon->toolButtonStyle(), Qt::ToolButtonIconOnly);
    const QStringList lines = icon->text().split('\n');
    QCOMPARE(lines.size(), 3);
    for (const QString &line : lines)
        QVERIFY(line.startsWith("  ") && !line.trimmed().isEmpty());
}

void InfoPagesTest::badgesOpenOnePage_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::newRow("app store") << "btnAppStore"
                               << "/in/mobile-security/ios";
    QTest::newRow("google play") << "btnGooglPlayStore"
                                 << "/in/mobile-security/android";
    QTest::newRow("windows store") << "btnWindowStore"
                                   << "/en/mobile-security/";
}

void InfoPagesTest::badgesOpenOnePage()
{
    QFETCH(QString, name);
    MobileApp page(nullptr);
    page.show();
    const Browser browser;
    auto *badge = page.findChild<QToolButton *>(name);
    QCOMPARE(badge->iconSize(), QSize(150, 80));
    QCOMPARE(badge->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(click(badge));
    QCOMPARE(browser.opened().size(), 1);
    QCOMPARE(browser.opened().first().scheme(), QString("https"));
    QTEST(browser.opened().first().path(), "path");
}

void InfoPagesTest::whatsNewIsLaidOut()
{
    WhatsNew page(nullptr);
    QCOMPARE(page.objectName(), QString("whatsnew"));
    QCOMPARE(page.minimumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(&page),
             QStringList({"spacing 5", "widget scantop", "widget scheduelscanmiddle", "stretch"}));
    QCOMPARE(layoutOf(page.findChild<QWidget *>("scantop")), kHeader);
    QCOMPARE(page.findChild<QWidget *>("scantop")->findChild<QLabel *>()->text(),
             QString("Whats New"));
    QCOMPARE(layoutOf(page.findChild<QWidget *>("scheduelscanmiddle")),
             QStringList({"stretch", "widget lblWhatsNew", "stretch", "widget QLabel", "stretch"}));
    QCOMPARE(page.findChild<QLabel *>("lblWhatsNew")->text(),
             QString("TALO Antivirus secure your computer from the emerging threats."));
}

// The first slide stays for two ticks after the start, and for one from then on.
void InfoPagesTest::slidesFollowTheClock()
{
    WhatsNew page(nullptr);
    auto *timer = page.findChild<QTimer *>();
    QCOMPARE(timer->interval(), 3000);
    QVERIFY(timer->isActive());
    QVERIFY(!timer->isSingleShot());
    QCOMPARE(slideShown(page), QString("first"));
    for (const char *slide :
         {"first", "second", "third", "fourth", "first", "second", "third", "fourth", "first"}) {
        QVERIFY(QMetaObject::invokeMethod(timer, "timeout"));
        QCOMPARE(slideShown(page), QString(slide));
    }
}

void InfoPagesTest::slidesGoOnUnseen()
{
    WhatsNew page(nullptr);
    page.show();
    page.hide();
    auto *timer = page.findChild<QTimer *>();
    QVERIFY(timer->isActive());
    for (int tick = 0; tick < 2; ++tick)
        QMetaObject::invokeMethod(timer, "timeout");
    page.show();
    QCOMPARE(slideShown(page), QString("second"));
}

void InfoPagesTest::backLeadsHome()
{
    MobileApp mobile(nullptr);
    WhatsNew news(nullptr);
    for (QWidget *page : {static_cast<QWidget *>(&mobile), static_cast<QWidget *>(&news)}) {
        page->show();
        QSignalSpy spy(page, SIGNAL(ShowHomePage()));
        QVERIFY(click(talo::test::button(page, " < BACK ")));
        QCOMPARE(spy.count(), 1);
    }
}

QTEST_MAIN(InfoPagesTest)
#include "infopages_test.moc"
