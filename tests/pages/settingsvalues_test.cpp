// The values on the settings page: shown, applied and set to the engine's defaults.
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QComboBox>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

struct Switch {
    const char *button;
    const char *reading;
    int output; // which number of the reading holds it
};

const Switch kSwitches[] = {{"btnScanPacked", "libSettings::GetGeneralSettings", 0},
                            {"btnScanArchive", "libSettings::GetGeneralSettings", 1},
                            {"btnExternalDriveScan", "libSettings::GetExternalDriveSettings", 0},
                            {"btnFirewallConfig", "libSettings::GetFirewallSetting", 0},
                            {"btnUpdateConfig", "libSettings::GetUpdateSettings", 0}};

// The tab buttons that lead to each sub-page.
const QMap<QString, QStringList> kWays = {
    {"General", {}},
    {"Scan Actions", {"btnScanActions"}},
    {"External Drive", {"btnExternalDrive"}},
    {"Firewall", {"btnWebAndEmailSettings"}},
    {"Update", {"btnUpdateSettings"}},
};

} // namespace

class SettingsValuesTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void switchShowsExactlyOneAsOn_data();
    void switchShowsExactlyOneAsOn();
    void actionShowsItsCode_data();
    void actionShowsItsCode();
    void actionsArriveInOrder();
    void frequencyShowsItsCode_data();
    void frequencyShowsItsCode();
    void reloadAsksInOrder();
    void applySendsSwitches_data();
    void applySendsSwitches();
    void applySendsActions_data();
    void applySendsActions();
    void applySendsFrequency_data();
    void applySendsFrequency();
    void defaultReloads_data();
    void defaultReloads();
    void defaultShowsTheEnginesValues();
    void failuresAreNotTold();

private:
    QToolButton *find(const char *name) const { return page_->findChild<QToolButton *>(name); }
    QList<QComboBox *> actions() const;
    QComboBox *frequency() const;
    bool open(const QString &subPage) const;
    // Clicks a button of the page that is shown and answers the box that follows.
    QString press(const char *text, const char *box) const;

    std::unique_ptr<Settings> page_;
};

void SettingsValuesTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
}

QList<QComboBox *> SettingsValuesTest::actions() const
{
    return page_->findChild<QWidget *>("scanactionsconfigsettingpage")->findChildren<QComboBox *>();
}

QComboBox *SettingsValuesTest::frequency() const
{
    return page_->findChild<QWidget *>("updatesettingpage")->findChild<QComboBox *>();
}

bool SettingsValuesTest::open(const QString &subPage) const
{
    for (const QString &tab : kWays[subPage]) {
        if (!click(find(qPrintable(tab)))) {
            return false;
        }
    }
    return true;
}

QString SettingsValuesTest::press(const char *text, const char *box) const
{
    ScriptedEngine::instance().clearCalls();
    Dialogs dialogs;
    dialogs.expectBox();
    for (QAbstractButton *candidate : buttons(page_.get(), text)) {
        if (candidate->isVisible() && !click(candidate)) {
            return "cannot be clicked";
        }
    }
    return boxFault(dialogs, QMessageBox::Information, box, page_.get(), "Settings Updation");
}

void SettingsValuesTest::switchShowsExactlyOneAsOn_data()
{
    QTest::addColumn<int>("which");
    QTest::addColumn<int>("value");
    QTest::addColumn<bool>("on");
    for (int i = 0; i < 5; ++i) {
        for (const auto &[value, on] :
             {std::pair(0, false), std::pair(1, true), std::pair(2, false), std::pair(-1, false)}) {
            QTest::addRow("%s %d", kSwitches[i].button, value) << i << value << on;
        }
    }
}

void SettingsValuesTest::switchShowsExactlyOneAsOn()
{
    QFETCH(int, which);
    QFETCH(int, value);
    QFETCH(bool, on);
    const Switch &shown = kSwitches[which];
    for (const Switch &other : kSwitches) {
        find(other.button)->setChecked(!on);
    }
    std::vector<long long> numbers(2, 0);
    numbers[shown.output] = value;
    ScriptedEngine::instance().answer(shown.reading, {0, {}, numbers});
    page_->fillAllSettingsData();
    for (const Switch &other : kSwitches) {
        QCOMPARE(find(other.button)->isChecked(), &other == &shown && on);
    }
}

void SettingsValuesTest::actionShowsItsCode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::newRow("301") << 301 << "Disinfect"
                         << "Disinfect & Delete";
    QTest::newRow("302") << 302 << "Disinfect & Delete"
                         << "Disinfect & Delete";
    QTest::newRow("303") << 303 << "Delete"
                         << "Delete";
    QTest::newRow("304") << 304 << "Report Only"
                         << "Report Only";
    QTest::newRow("unknown") << 305 << "Disinfect"
                             << "Disinfect & Delete";
    QTest::newRow("zero") << 0 << "Disinfect"
                          << "Disinfect & Delete";
    QTest::newRow("negative") << -1 << "Disinfect"
                              << "Disinfect & Delete";
}

void SettingsValuesTest::actionShowsItsCode()
{
    QFETCH(int, code);
    QFETCH(QString, first);
    QFETCH(QString, second);
    for (QComboBox *box : actions()) {
        box->setCurrentIndex(2);
    }
    ScriptedEngine::instance().answer("libSettings::GetScanActionSettings",
                                      {0, {}, {code, code, code, code, code, code}});
    page_->fillAllSettingsData();
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(actions()[i]->currentText(), i % 2 == 0 ? first : second);
    }
}

void SettingsValuesTest::actionsArriveInOrder()
{
    ScriptedEngine::instance().answer("libSettings::GetScanActionSettings",
                                      {0, {}, {302, 303, 303, 304, 304, 302}});
    page_->fillAllSettingsData();
    QStringList texts;
    for (QComboBox *box : actions()) {
        texts << box->accessibleName() + ": " + box->currentText();
    }
    QCOMPARE(texts, QStringList({"First action for infected files: Disinfect & Delete",
                                 "Second action for infected files: Delete",
                                 "First action for suspected files: Delete",
                                 "Second action for suspected files: Report Only",
                                 "First action for hidden files: Report Only",
                                 "Second action for hidden files: Disinfect & Delete"}));
}

void SettingsValuesTest::frequencyShowsItsCode_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("shown");
    QTest::newRow("hourly") << 0 << "1 Hour";
    QTest::newRow("two") << 1 << "2 Hour";
    QTest::newRow("six") << 2 << "6 Hour";
    QTest::newRow("daily") << 3 << "24 Hour";
    QTest::newRow("too high") << 4 << "";
    QTest::newRow("negative") << -1 << "";
}

void SettingsValuesTest::frequencyShowsItsCode()
{
    QFETCH(int, code);
    QFETCH(QString, shown);
    frequency()->setCurrentIndex(2);
    ScriptedEngine::instance().answer("libSettings::GetUpdateSettings", {0, {}, {0, code}});
    page_->fillAllSettingsData();
    QCOMPARE(frequency()->currentText(), shown);
}

void SettingsValuesTest::reloadAsksInOrder()
{
    page_->fillAllSettingsData();
    QCOMPARE(engineCalls(), reloadCalls());
}

void SettingsValuesTest::applySendsSwitches_data()
{
    QTest::addColumn<QStringList>("clicked");
    QTest::addColumn<QStringList>("calls");
    const QString notice = "NotifySettingChange";
    QTest::newRow("General, all off")
        << QStringList{} << QStringList{"libSettings::ApplyGeneralSettings 0 0", notice};
    QTest::newRow("General, packed")
        << QStringList{"btnScanPacked"}
        << QStringList{"libSettings::ApplyGeneralSettings 1 0", notice};
    QTest::newRow("General, archives")
        << QStringList{"btnScanArchive"}
        << QStringList{"libSettings::ApplyGeneralSettings 0 1", notice};
    QTest::newRow("External Drive, off")
        << QStringList{} << QStringList{"libSettings::ApplyExternalDriveSettings 0"};
    QTest::newRow("External Drive, on") << QStringList{"btnExternalDriveScan"}
                                        << QStringList{"libSettings::ApplyExternalDriveSettings 1"};
    QTest::newRow("Firewall, off")
        << QStringList{}
        << QStringList{"libSettings::ApplyFirewallSetting 0", "Firewall::TriggerFirewall 2"};
    QTest::newRow("Firewall, on") << QStringList{"btnFirewallConfig"}
                                  << QStringList{"libSettings::ApplyFirewallSetting 1",
                                                 "Firewall::TriggerFirewall 1"};
    QTest::newRow("Firewall, on and off again")
        << QStringList{"btnFirewallConfig", "btnFirewallConfig"}
        << QStringList{"libSettings::ApplyFirewallSetting 0", "Firewall::TriggerFirewall 2"};
    QTest::newRow("Update, off") << QStringList{}
                                 << QStringList{"libSettings::ApplyUpdateSettings 0 0", notice};
    QTest::newRow("Update, on") << QStringList{"btnUpdateConfig"}
                                << QStringList{"libSettings::ApplyUpdateSettings 1 0", notice};
}

void SettingsValuesTest::applySendsSwitches()
{
    QFETCH(QStringList, clicked);
    QFETCH(QStringList, calls);
    QVERIFY(open(QString(QTest::currentDataTag()).section(',', 0, 0)));
    ScriptedEngine::instance().clearCalls();
    for (const QString &name : clicked) {
        QVERIFY(click(find(qPrintable(name))));
    }
    QCOMPARE(engineCalls(), QStringList()); // until APPLY
    QCOMPARE(press("APPLY", "Current settings applied successfully"), QString());
    QCOMPARE(engineCalls(), calls);
}

void SettingsValuesTest::applySendsActions_data()
{
    QTest::addColumn<QList<int>>("chosen");
    QTest::addColumn<QString>("codes");
    QTest::newRow("first entries") << QList<int>{0, 0, 0, 0, 0, 0} << "301 302 301 302 301 302";
    QTest::newRow("second entries") << QList<int>{1, 1, 1, 1, 1, 1} << "302 303 302 303 302 303";
    QTest::newRow("third entries") << QList<int>{2, 2, 2, 2, 2, 2} << "303 304 303 304 303 304";
    QTest::newRow("mixed") << QList<int>{3, 0, 2, 1, 0, 2} << "304 302 303 303 301 304";
    QTest::newRow("none") << QList<int>{-1, -1, -1, -1, -1, -1} << "301 302 301 302 301 302";
}

void SettingsValuesTest::applySendsActions()
{
    QFETCH(QList<int>, chosen);
    QFETCH(QString, codes);
    QVERIFY(open("Scan Actions"));
    for (int i = 0; i < 6; ++i) {
        actions()[i]->setCurrentIndex(chosen[i]);
    }
    QCOMPARE(press("APPLY", "Current settings applied successfully"), QString());
    QCOMPARE(engineCalls(),
             QStringList({"libSettings::ApplyScanActionSettings " + codes, "NotifySettingChange"}));
}

void SettingsValuesTest::applySendsFrequency_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("code");
    QTest::newRow("1 Hour") << 0 << 0;
    QTest::newRow("2 Hour") << 1 << 1;
    QTest::newRow("6 Hour") << 2 << 2;
    QTest::newRow("24 Hour") << 3 << 3;
    QTest::newRow("none") << -1 << 0;
}

void SettingsValuesTest::applySendsFrequency()
{
    QFETCH(int, index);
    QFETCH(int, code);
    QVERIFY(open("Update"));
    frequency()->setCurrentIndex(index);
    QCOMPARE(press("APPLY", "Current settings applied successfully"), QString());
    QCOMPARE(engineCalls(), QStringList({QString("libSettings::ApplyUpdateSettings 0 %1").arg(code),
                                         "NotifySettingChange"}));
}

void SettingsValuesTest::defaultReloads_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("General") << "libSettings::ApplyDefaultGeneralSetting"
                             << "NotifySettingChange";
    QTest::newRow("Scan Actions") << "libSettings::ApplyDefaultScanActionSetting"
                                  << "NotifySettingChange";
    QTest::newRow("External Drive") << "libSettings::ApplyDefaultExternalDriveSetting"
                                    << "";
    QTest::newRow("Firewall") << "libSettings::ApplyDefaultFirewallSettings"
                              << "Firewall::TriggerFirewall 1";
    QTest::newRow("Update") << "libSettings::ApplyDefaultUpdateSettings"
                            << "NotifySettingChange";
}

void SettingsValuesTest::defaultReloads()
{
    QFETCH(QString, before);
    QFETCH(QString, after);
    QVERIFY(open(QTest::currentDataTag()));
    QCOMPARE(press("DEFAULT", "Default settings applied successfully"), QString());
    QStringList calls = QStringList(before) + reloadCalls();
    if (!after.isEmpty()) {
        calls << after;
    }
    QCOMPARE(engineCalls(), calls);
}

void SettingsValuesTest::defaultShowsTheEnginesValues()
{
    auto &engine = ScriptedEngine::instance();
    QVERIFY(open("Firewall"));
    QVERIFY(click(find("btnFirewallConfig")));
    engine.answer("libSettings::GetFirewallSetting", {0, {}, {0}});
    QCOMPARE(press("DEFAULT", "Default settings applied successfully"), QString());
    QVERIFY(!find("btnFirewallConfig")->isChecked());
    QCOMPARE(engineCalls().last(), QString("Firewall::TriggerFirewall 1"));
}

void SettingsValuesTest::failuresAreNotTold()
{
    auto &engine = ScriptedEngine::instance();
    engine.answer("libSettings::ApplyGeneralSettings", {-1});
    engine.answer("libSettings::ApplyDefaultGeneralSetting", {-1});
    QCOMPARE(press("APPLY", "Current settings applied successfully"), QString());
    QCOMPARE(press("DEFAULT", "Default settings applied successfully"), QString());
}

QTEST_MAIN(SettingsValuesTest)
#include "settingsvalues_test.moc"
