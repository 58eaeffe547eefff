// The signals that each page declares, which the main window connects by name, and the operations
// that it calls on them.
#include "pages/advancedtools.h"
#include "pages/configureschedulescan.h"
#include "pages/datatheft.h"
#include "pages/duplicatefinder.h"
#include "pages/help.h"
#include "pages/mobileapp.h"
#include "pages/schedulescan.h"
#include "pages/settings.h"
#include "pages/shredder.h"
#include "pages/update.h"
#include "pages/whatsnew.h"
#include "support/widgets.h"

#include <QtTest>

class PageSignalsTest : public QObject
{
    Q_OBJECT

private slots:
    void declaresSignalsInOrder_data();
    void declaresSignalsInOrder();
    void settingsOfferTheirTabs();
};

Q_DECLARE_METATYPE(const QMetaObject *)

void PageSignalsTest::declaresSignalsInOrder_data()
{
    QTest::addColumn<const QMetaObject *>("page");
    QTest::addColumn<QStringList>("expected");
    const QStringList back = {"ShowAdvacnedToolsPage()"};
    const QStringList home = {"ShowHomePage()"};
    QTest::newRow("Settings") << &Settings::staticMetaObject << home;
    QTest::newRow("Help") << &Help::staticMetaObject << QStringList();
    QTest::newRow("ScheduleScan") << &ScheduleScan::staticMetaObject
                                  << QStringList{
                                         "ShowScanPage()", "ShowConfigureScheduleScanPage()",
                                         "EditConfigureScheduleScan(QString,int,int,int,int)"};
    QTest::newRow("ConfigureScheduleScan")
        << &ConfigureScheduleScan::staticMetaObject << QStringList{"ShowScheduleScanPage()"};
    QTest::newRow("Update") << &Update::staticMetaObject << home;
    QTest::newRow("MobileApp") << &MobileApp::staticMetaObject << home;
    QTest::newRow("WhatsNew") << &WhatsNew::staticMetaObject << home;
    QTest::newRow("AdvancedTools") << &AdvancedTools::staticMetaObject
                                   << QStringList{"ShowShredderPage()", "ShowDuplicateFinderPage()",
                                                  "ShowDataTheftPage()", "ShowHomePage()"};
    QTest::newRow("Datatheft") << &Datatheft::staticMetaObject
                               << QStringList{"RefreshDashboard()", "ShowAdvacnedToolsPage()"};
    QTest::newRow("DuplicateFinder")
        << &DuplicateFinder::staticMetaObject
        << QStringList{"ShowAdvacnedToolsPage()", "SendDupCurFilePath(char*)"};
    QTest::newRow("Shredder") << &Shredder::staticMetaObject << back;
}

void PageSignalsTest::declaresSignalsInOrder()
{
    QFETCH(const QMetaObject *, page);
    QTEST(talo::test::signalsOf(*page), "expected");
}

void PageSignalsTest::settingsOfferTheirTabs()
{
    const QStringList offered = talo::test::slotsOf(Settings::staticMetaObject);
    QVERIFY(offered.contains("btnScanSettingsClicked()"));
    QVERIFY(offered.contains("btnWebAndEmailSettingsClicked()"));
}

QTEST_MAIN(PageSignalsTest)
#include "pagesignals_test.moc"
