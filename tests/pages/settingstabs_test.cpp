// Moving between the settings page's tabs.
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class SettingsTabsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void tabShowsItsPage_data();
    void tabShowsItsPage();
    void currentTabUnchecksItself_data();
    void currentTabUnchecksItself();
    void uncheckedTabAnswersNextClick();
    void innerTabSurvivesOuterOne();
    void mainWindowOpensTabs();
    void changesThatWereNotAppliedAreLost();

private:
    QToolButton *find(const QString &name) const { return page_->findChild<QToolButton *>(name); }
    QStackedWidget *stackOf(const QString &tab) const;
    static const QStringList &siblings(const QString &tab);
    QStringList checkedAmong(const QStringList &names) const;

    std::unique_ptr<Settings> page_;
};

namespace
{

const QStringList kTabs = {"btnScanSettings", "btnWebAndEmailSettings", "btnUpdateSettings"};
const QStringList kInnerTabs = {"btnGeneral", "btnScanActions", "btnExternalDrive",
                                "btnExcludeScanList"};

} // namespace

void SettingsTabsTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
}

const QStringList &SettingsTabsTest::siblings(const QString &tab)
{
    return kTabs.contains(tab) ? kTabs : kInnerTabs;
}

QStackedWidget *SettingsTabsTest::stackOf(const QString &tab) const
{
    return kTabs.contains(tab)
               ? page_->tabStack()
               : page_->findChild<QWidget *>("scansettingpage")->findChild<QStackedWidget *>();
}

QStringList SettingsTabsTest::checkedAmong(const QStringList &names) const
{
    QStringList checked;
    for (const QString &name : names) {
        if (find(name)->isChecked()) {
            checked << name;
        }
    }
    return checked;
}

void SettingsTabsTest::tabShowsItsPage_data()
{
    QTest::addColumn<QString>("from");
    for (const QStringList &names : {kTabs, kInnerTabs}) {
        for (const QString &to : names) {
            for (const QString &from : names) {
                if (from != to) {
                    QTest::newRow(qPrintable(from + " to " + to)) << from;
                }
            }
        }
    }
}

void SettingsTabsTest::tabShowsItsPage()
{
    QFETCH(QString, from);
    const QString to = QString(QTest::currentDataTag()).section(' ', -1);
    if (!find(from)->isChecked()) {
        QVERIFY(click(find(from)));
    }
    ScriptedEngine::instance().clearCalls();
    QVERIFY(click(find(to)));
    QCOMPARE(checkedAmong(siblings(to)), QStringList(to));
    QCOMPARE(stackOf(to)->currentIndex(), siblings(to).indexOf(to));
    QStringList calls = reloadCalls();
    if (to == "btnExcludeScanList") {
        calls << "libExcludeSetting::GetExcludeScanList"
              << "NotifySettingChange";
    }
    QCOMPARE(engineCalls(), calls);
}

void SettingsTabsTest::currentTabUnchecksItself_data()
{
    QTest::addColumn<int>("index");
    for (const QStringList &names : {kTabs, kInnerTabs}) {
        for (int i = 0; i < names.size(); ++i) {
            QTest::newRow(qPrintable(names[i])) << i;
        }
    }
}

void SettingsTabsTest::currentTabUnchecksItself()
{
    QFETCH(int, index);
    const QString name = QTest::currentDataTag();
    if (!find(name)->isChecked()) {
        QVERIFY(click(find(name)));
    }
    ScriptedEngine::instance().clearCalls();
    QVERIFY(click(find(name)));
    QCOMPARE(checkedAmong(siblings(name)), QStringList());
    QCOMPARE(stackOf(name)->currentIndex(), index);
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsTabsTest::uncheckedTabAnswersNextClick()
{
    QVERIFY(click(find("btnScanSettings")));
    QVERIFY(click(find("btnScanSettings")));
    QCOMPARE(checkedAmong(kTabs), QStringList("btnScanSettings"));
    QCOMPARE(engineCalls(), reloadCalls());
}

void SettingsTabsTest::innerTabSurvivesOuterOne()
{
    QVERIFY(click(find("btnExternalDrive")));
    QVERIFY(click(find("btnUpdateSettings")));
    QVERIFY(click(find("btnScanSettings")));
    QCOMPARE(checkedAmong(kInnerTabs), QStringList("btnExternalDrive"));
    QCOMPARE(stackOf("btnExternalDrive")->currentIndex(), 2);
}

void SettingsTabsTest::mainWindowOpensTabs()
{
    page_->webAndEmailSettingsButton()->setChecked(true);
    page_->btnWebAndEmailSettingsClicked();
    QCOMPARE(page_->tabStack()->currentIndex(), 1);
    QCOMPARE(checkedAmong(kTabs), QStringList("btnWebAndEmailSettings"));
    page_->scanSettingsButton()->setChecked(true);
    page_->btnScanSettingsClicked();
    QCOMPARE(page_->tabStack()->currentIndex(), 0);
    QCOMPARE(checkedAmong(kTabs), QStringList("btnScanSettings"));
}

void SettingsTabsTest::changesThatWereNotAppliedAreLost()
{
    auto &engine = ScriptedEngine::instance();
    engine.answer("libSettings::GetGeneralSettings", {0, {}, {0, 1}});
    page_->fillAllSettingsData();
    QVERIFY(click(find("btnScanArchive")));
    QVERIFY(click(find("btnScanPacked")));
    QVERIFY(!find("btnScanArchive")->isChecked());
    QVERIFY(find("btnScanPacked")->isChecked());
    engine.clearCalls();
    QVERIFY(click(find("btnScanActions")));
    QVERIFY(click(find("btnGeneral")));
    QVERIFY(find("btnScanArchive")->isChecked());
    QVERIFY(!find("btnScanPacked")->isChecked());
    QCOMPARE(engineCalls(), reloadCalls() + reloadCalls());
}

QTEST_MAIN(SettingsTabsTest)
#include "settingstabs_test.moc"
