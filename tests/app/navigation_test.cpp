// The ways between the pages, walked by clicks, and the sidebar's marks.
#include "app/app.h"
#include "support/browser.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QLabel>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using talo::test::click;
using talo::test::ScriptedEngine;

namespace
{

const char *const kMarks[] = {"btnHome", "btnSettings", "btnHelp"};

} // namespace

class NavigationTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void slotsShowPages_data();
    void slotsShowPages();
    void homeLeadsToPages_data();
    void homeLeadsToPages();
    void reportListIsReloadedOnEveryVisit();
    void backLeads_data();
    void backLeads();
    void sidebarLeads_data();
    void sidebarLeads();
    void editorGetsFieldsUnchanged();
    void homeShowsProtectionAgain();
    void refreshRestoresMarks_data();
    void refreshRestoresMarks();
    void socialLinksOpenPages_data();
    void socialLinksOpenPages();

private:
    QStackedWidget *stack() const;
    bool showPage(int index) const;
    QToolButton *find(const char *name) const { return window_->findChild<QToolButton *>(name); }
    QString marks() const;
    void setMarks(const QString &marks) const;

    std::unique_ptr<TaloAntivirus_Linux_App> window_;
};

void NavigationTest::init()
{
    ScriptedEngine::instance().reset();
    window_ = std::make_unique<TaloAntivirus_Linux_App>(nullptr);
    window_->show();
}

QStackedWidget *NavigationTest::stack() const
{
    return window_->findChild<QWidget *>("center")->findChild<QStackedWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
}

bool NavigationTest::showPage(int index) const
{
    stack()->setCurrentIndex(index);
    return stack()->currentIndex() == index;
}

// One letter for each button that is checked: H, S, P.
QString NavigationTest::marks() const
{
    QString found;
    for (int i = 0; i < 3; ++i) {
        if (find(kMarks[i])->isChecked()) {
            found += "HSP"[i];
        }
    }
    return found;
}

void NavigationTest::setMarks(const QString &marks) const
{
    for (int i = 0; i < 3; ++i) {
        find(kMarks[i])->setChecked(marks.contains("HSP"[i]));
    }
}

void NavigationTest::slotsShowPages_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("marksAfter"); // "SP" is set before: only three slots change it
    QTest::newRow("btnHomeClicked") << 3 << 0 << "H";
    QTest::newRow("btnSettingsClicked") << 0 << 1 << "S";
    QTest::newRow("btnHelpClicked") << 0 << 2 << "P";
    QTest::newRow("btnScanCliked") << 0 << 3 << "SP";
    QTest::newRow("btnScheduleScanClicked") << 0 << 4 << "SP";
    QTest::newRow("btnConfigureScheduleScanCliked") << 0 << 5 << "SP";
    QTest::newRow("btnReportClicked") << 0 << 6 << "SP";
    QTest::newRow("btnUpdateClicked") << 0 << 7 << "SP";
    QTest::newRow("btnMobileAppClicked") << 0 << 8 << "SP";
    QTest::newRow("btnWhatsNewClicked") << 0 << 9 << "SP";
    QTest::newRow("btnAdvancedToolsClicked") << 0 << 10 << "SP";
    QTest::newRow("btnDataTheftClicked") << 0 << 11 << "SP";
    QTest::newRow("btnDuplicateFinderClicked") << 0 << 12 << "SP";
    QTest::newRow("btnShredderClicked") << 0 << 13 << "SP";
    QTest::newRow("btnWebAndEmailSettingsClicked") << 0 << 1 << "S";
}

void NavigationTest::slotsShowPages()
{
    QFETCH(int, from);
    QVERIFY(showPage(from));
    setMarks("SP");
    QVERIFY(QMetaObject::invokeMethod(window_.get(), QTest::currentDataTag()));
    QTEST(stack()->currentIndex(), "page");
    QTEST(marks(), "marksAfter");
}

void NavigationTest::homeLeadsToPages_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("marksAfter");
    QTest::newRow("btnScan") << 3 << "H";
    QTest::newRow("btnUpdate") << 7 << "H";
    QTest::newRow("btnWebAndEmail") << 1 << "S";
    QTest::newRow("btnReport") << 6 << "H";
    QTest::newRow("btnMobileApps") << 8 << "H";
    QTest::newRow("btnWhatsNew") << 9 << "H";
    QTest::newRow("btnAdvancedTools") << 10 << "H";
}

void NavigationTest::homeLeadsToPages()
{
    QVERIFY(click(find(QTest::currentDataTag())));
    QTEST(stack()->currentIndex(), "page");
    QTEST(marks(), "marksAfter");
}

void NavigationTest::reportListIsReloadedOnEveryVisit()
{
    ScriptedEngine &engine = ScriptedEngine::instance();
    engine.clearCalls();
    QVERIFY(click(find("btnReport")));
    QCOMPARE(engine.calls("libReports::GetReportList").size(), size_t(1));
    QVERIFY(click(find("btnHome")));
    QVERIFY(click(find("btnReport")));
    QCOMPARE(engine.calls("libReports::GetReportList").size(), size_t(2));
}

void NavigationTest::backLeads_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    QTest::newRow("scan") << 3 << 0;
    QTest::newRow("scheduled scans") << 4 << 3;
    QTest::newRow("schedule editor") << 5 << 4;
    QTest::newRow("reports") << 6 << 0;
    QTest::newRow("update") << 7 << 0;
    QTest::newRow("mobile app") << 8 << 0;
    QTest::newRow("what's new") << 9 << 0;
    QTest::newRow("advanced tools") << 10 << 0;
    QTest::newRow("data theft") << 11 << 10;
    QTest::newRow("duplicate finder") << 12 << 10;
    QTest::newRow("shredder") << 13 << 10;
}

// Only the way home touches the sidebar's marks.
void NavigationTest::backLeads()
{
    QFETCH(int, from);
    QFETCH(int, to);
    QVERIFY(showPage(from));
    setMarks("SP");
    QVERIFY(click(talo::test::button(stack()->currentWidget(), " < BACK ")));
    QCOMPARE(stack()->currentIndex(), to);
    QCOMPARE(marks(), QString(to == 0 ? "H" : "SP"));
}

void NavigationTest::sidebarLeads_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("marksAfter");
    QTest::newRow("btnHome") << 0 << "H";
    QTest::newRow("btnSettings") << 1 << "S";
    QTest::newRow("btnHelp") << 2 << "P";
}

void NavigationTest::sidebarLeads()
{
    QFETCH(QString, marksAfter);
    QVERIFY(showPage(10));
    for (int i = 0; i < 2; ++i) { // the second click must not uncheck the button
        QVERIFY(click(find(QTest::currentDataTag())));
        QTEST(stack()->currentIndex(), "page");
        QCOMPARE(marks(), marksAfter);
    }
}

void NavigationTest::editorGetsFieldsUnchanged()
{
    QVERIFY(QMetaObject::invokeMethod(stack()->widget(4), "EditConfigureScheduleScan",
                                      Q_ARG(QString, "night"), Q_ARG(int, 2), Q_ARG(int, 3),
                                      Q_ARG(int, 14), Q_ARG(int, 5)));
    QCOMPARE(stack()->currentIndex(), 5);
}

void NavigationTest::homeShowsProtectionAgain()
{
    auto *heading = window_->findChild<QLabel *>("lblSecureInfo");
    auto *line = window_->findChild<QLabel *>("lblSecureSubInfo");
    heading->setText("changed");
    heading->hide();
    line->setText("changed");
    find("btnSecureLogo")->hide();
    QVERIFY(showPage(6));
    QVERIFY(click(talo::test::button(stack()->currentWidget(), " < BACK ")));
    QVERIFY(heading->isVisible());
    QVERIFY(find("btnSecureLogo")->isVisible());
    QCOMPARE(heading->text(), QString("You are protected"));
    QCOMPARE(line->text(), QString(" No additional action required"));
}

void NavigationTest::refreshRestoresMarks_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    for (int page = 0; page <= 12; ++page) {
        if (page != 1 && page != 2) {
            QTest::addRow("page %d", page) << page << "SP"
                                           << "H";
        }
    }
    QTest::newRow("settings") << 1 << "HP"
                              << "HP";
    QTest::newRow("help") << 2 << "HS"
                          << "P";
    QTest::newRow("shredder") << 13 << "SP"
                              << "SP";
}

void NavigationTest::refreshRestoresMarks()
{
    QFETCH(int, page);
    QFETCH(QString, before);
    QVERIFY(showPage(page));
    setMarks(before);
    window_->refershDashBoard();
    QTEST(marks(), "after");
    QCOMPARE(stack()->currentIndex(), page);
}

void NavigationTest::socialLinksOpenPages_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("btnFacebook") << "/social_media/fb";
    QTest::newRow("btnTiwtter") << "/social_media/twitter";
    QTest::newRow("btnGooglePlus") << "/social_media/googleplus";
}

void NavigationTest::socialLinksOpenPages()
{
    const talo::test::Browser browser;
    QVERIFY(click(find(QTest::currentDataTag())));
    QCOMPARE(browser.opened().size(), 1);
    QCOMPARE(browser.opened().first().scheme(), QString("https"));
    QVERIFY(!browser.opened().first().host().isEmpty());
    QTEST(browser.opened().first().path(), "path");
    QCOMPARE(stack()->currentIndex(), 0);
    QCOMPARE(marks(), QString("H"));
}

QTEST_MAIN(NavigationTest)
#include "navigation_test.moc"
