// How the settings page is built.
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/scriptedengine.h"
#include "support/tables.h"
#include "support/widgets.h"

#include <QComboBox>
#include <QLabel>
#include <QStackedWidget>
#include <QTableWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class SettingsStructureTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresItsInterface();
    void holdsHeaderAndMiddle();
    void headerOffersTwoLinks();
    void middleHoldsThreeTabs();
    void scanTabHoldsFourTabs();
    void subPageIsLaidOut_data();
    void subPageIsLaidOut();
    void switchIsBuilt_data();
    void switchIsBuilt();
    void actionBoxesListTheActions();
    void frequencyBoxListsTheHours();
    void exclusionTableIsBuilt();
    void startsUntouchedByEngine();

private:
    QWidget *find(const char *name) const { return page_->findChild<QWidget *>(name); }
    QStackedWidget *scanTabs() const
    {
        return find("scansettingpage")->findChild<QStackedWidget *>();
    }
    QWidget *subPage(const QString &tab) const;

    std::unique_ptr<Settings> page_;
};

void SettingsStructureTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
}

QWidget *SettingsStructureTest::subPage(const QString &tab) const
{
    const QStringList inner = {"General", "Scan Actions", "External Drive", "Exclude Scan List"};
    if (inner.contains(tab)) {
        return scanTabs()->widget(inner.indexOf(tab));
    }
    return page_->tabStack()->widget(tab == "Web/Email" ? 1 : 2);
}

void SettingsStructureTest::declaresItsInterface()
{
    QCOMPARE(signalsOf(Settings::staticMetaObject), QStringList("ShowHomePage()"));
    const QStringList expected = {"btnScanSettingsClicked()",
                                  "btnUpdateSettingsClicked()",
                                  "btnWebAndEmailSettingsClicked()",
                                  "btnGeneralClicked()",
                                  "btnScanActionsClicked()",
                                  "btnExternalDriveClicked()",
                                  "btnExcludeScanListClicked()",
                                  "btnScanPackedClicked()",
                                  "btnScanArchiveClicked()",
                                  "btnExternalDriveScanClicked()",
                                  "btnAddExcludeScanClicked()",
                                  "btnRemoveExcludeScanClicked()",
                                  "btnFirewallConfigClicked()",
                                  "btnUpdateConfigClicked()",
                                  "btnDefaultGeneralClicked()",
                                  "btnDefaultScanActionsClicked()",
                                  "btnDefaultExternalDriveClciked()",
                                  "btnDefaultFirewallClicked()",
                                  "btnDefaultUpdateClicked()",
                                  "btnApplyGeneralClicked()",
                                  "btnApplyScanActionsClicked()",
                                  "btnApplyExternalDriveClicked()",
                                  "btnApplyFirewallClicked()",
                                  "btnApplyUpdateClicked()",
                                  "btnPwdProtectionClicked()",
                                  "btnImportExportClicked()",
                                  "btnImportClicked()",
                                  "btnExportClicked()",
                                  "importSettings()",
                                  "exportSettings()",
                                  "selectedPathToExport(QModelIndex)",
                                  "selectedPathToImport(QModelIndex)",
                                  "btnPwdConfigClicked()",
                                  "btnCreatePwdClicked()",
                                  "btnCancelCreatePwdClicked()",
                                  "btnOkCreatePwdClicked()",
                                  "btnApplyPwdClikced()",
                                  "btnCancelPwdClicked()",
                                  "btnResetPwdClicked()",
                                  "btnChangePwdClicked()",
                                  "btnOkChangePwdClicked()",
                                  "btnCancelChangePwdClicked()"};
    QCOMPARE(slotsOf(Settings::staticMetaObject), expected);
    const QMetaObject &meta = Settings::staticMetaObject;
    for (int i = 0; i < expected.size(); ++i) {
        const QMetaMethod slot = meta.method(meta.indexOfSlot(expected[i].toLatin1()));
        QCOMPARE(slot.access(), i < 3 ? QMetaMethod::Public : QMetaMethod::Private);
    }
}

void SettingsStructureTest::holdsHeaderAndMiddle()
{
    QCOMPARE(page_->objectName(), QString("home"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(page_->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"widget QWidget", "widget settingmiddle", "stretch"}));
    QVERIFY(isTight(page_.get()));
}

void SettingsStructureTest::headerOffersTwoLinks()
{
    auto *title = page_->findChild<QToolButton *>("settingsPageTitle");
    QWidget *header = title->parentWidget();
    QCOMPARE(header->minimumSize(), QSize(650, 50));
    QCOMPARE(header->maximumSize(), QSize(650, 50));
    QCOMPARE(header->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(header), QStringList({"spacing 10", "widget settingsPageTitle", "stretch",
                                            "widget btnImportExport", "spacing 5",
                                            "widget btnImportExport", "spacing 10"}));
    QVERIFY(isTight(header));
    QCOMPARE(title->text(), QString(" Settings"));
    QCOMPARE(title->iconSize(), QSize(20, 20));
    QCOMPARE(title->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(alignmentOf(title), Qt::AlignHCenter);

    QStringList texts;
    for (auto *link : page_->findChildren<QToolButton *>("btnImportExport")) {
        texts << link->text();
        QCOMPARE(link->toolButtonStyle(), Qt::ToolButtonTextOnly);
        QCOMPARE(link->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(alignmentOf(link), Qt::AlignHCenter);
    }
    QCOMPARE(texts, QStringList({"Manage Password", "Import/Export"}));
}

void SettingsStructureTest::middleHoldsThreeTabs()
{
    QWidget *middle = find("settingmiddle");
    QCOMPARE(middle->minimumSize(), QSize(650, 400));
    QCOMPARE(middle->maximumSize(), QSize(650, 400));
    QCOMPARE(middle->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(middle),
             QStringList({"row [spacing 10, widget btnScanSettings, stretch, "
                          "widget btnWebAndEmailSettings, stretch, widget btnUpdateSettings, "
                          "spacing 10]",
                          "widget QStackedWidget"}));
    QVERIFY(isTight(middle));

    QStackedWidget *tabs = page_->tabStack();
    QCOMPARE(tabs->minimumSize(), QSize(650, 350));
    QCOMPARE(tabs->maximumSize(), QSize(650, 350));
    QCOMPARE(tabs->count(), 3);
    QCOMPARE(tabs->widget(0)->objectName(), QString("scansettingpage"));
    QCOMPARE(tabs->widget(1)->objectName(), QString("firewallsettingpage"));
    QCOMPARE(tabs->widget(2)->objectName(), QString("updatesettingpage"));
    QCOMPARE(tabs->currentIndex(), 0);
    for (const auto &[name, text] :
         {std::pair("btnScanSettings", "Scan"), std::pair("btnWebAndEmailSettings", "Web/Email"),
          std::pair("btnUpdateSettings", "Update")}) {
        auto *tab = page_->findChild<QToolButton *>(name);
        QCOMPARE(tab->text(), QString(text));
        QVERIFY(tab->isCheckable());
        QCOMPARE(tab->isChecked(), tab == page_->scanSettingsButton());
        QCOMPARE(tab->cursor().shape(), Qt::PointingHandCursor);
    }
    QCOMPARE(page_->webAndEmailSettingsButton()->text(), QString("Web/Email"));
}

void SettingsStructureTest::scanTabHoldsFourTabs()
{
    QWidget *scan = find("scansettingpage");
    QCOMPARE(scan->minimumSize(), QSize(650, 350));
    QCOMPARE(scan->maximumSize(), QSize(650, 350));
    QCOMPARE(layoutOf(scan),
             QStringList({"spacing 5",
                          "row [stretch, widget btnGeneral, spacing 10, widget btnScanActions, "
                          "spacing 10, widget btnExternalDrive, spacing 10, "
                          "widget btnExcludeScanList, stretch]",
                          "widget QStackedWidget"}));
    QVERIFY(isTight(scan));
    QCOMPARE(scanTabs()->minimumSize(), QSize(650, 320));
    QCOMPARE(scanTabs()->maximumSize(), QSize(650, 320));
    QCOMPARE(scanTabs()->count(), 4);
    QCOMPARE(scanTabs()->currentIndex(), 0);
    for (const auto &[name, text] :
         {std::pair("btnGeneral", "General"), std::pair("btnScanActions", "Scan Actions"),
          std::pair("btnExternalDrive", "External Drive"),
          std::pair("btnExcludeScanList", "Exclude Scan List")}) {
        auto *tab = page_->findChild<QToolButton *>(name);
        QCOMPARE(tab->text(), QString(text));
        QVERIFY(tab->isCheckable());
        QCOMPARE(tab->isChecked(), tab->text() == "General");
        QCOMPARE(tab->cursor().shape(), Qt::PointingHandCursor);
    }
}

void SettingsStructureTest::subPageIsLaidOut_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QStringList>("labels");
    const auto buttons = [](const char *first, const char *second) {
        return QString("row [stretch, widget %1, stretch, widget %2, stretch]").arg(first, second);
    };
    const auto labelled = [](const char *control) {
        return QString("row [stretch, widget QLabel, stretch, widget %1, stretch]").arg(control);
    };
    const QString actions = "row [spacing 40, column [widget QLabel, widget QComboBox], stretch, "
                            "column [widget QLabel, widget QComboBox], stretch]";

    QTest::newRow("General") << "scanconfigsettingpage" << QSize(650, 320)
                             << QStringList{"stretch",
                                            labelled("btnScanArchive"),
                                            "spacing 10",
                                            labelled("btnScanPacked"),
                                            "stretch",
                                            buttons("btnDefaultGeneral", "btnApplyGeneral"),
                                            "stretch"}
                             << QStringList{"Scan Archive", "Scan Packed"};
    QTest::newRow("Scan Actions")
        << "scanactionsconfigsettingpage" << QSize(650, 300)
        << QStringList{"stretch", actions,
                       "stretch", actions,
                       "stretch", actions,
                       "stretch", buttons("btnDefaultScanActions", "btnApplyScanActions"),
                       "stretch"}
        << QStringList{"First action for infected files",  "Second action for infected files",
                       "First action for suspected files", "Second action for suspected files",
                       "First action for hidden files",    "Second action for hidden files"};
    QTest::newRow("External Drive")
        << "scanexternaldriveconfigsettingpage" << QSize(650, 320)
        << QStringList{"stretch", labelled("btnExternalDriveScan"), "stretch",
                       buttons("btnDefaultGeneral", "btnApplyGeneral"), "spacing 45"}
        << QStringList{"External Drive Scan"};
    QTest::newRow("Exclude Scan List")
        << "scanexternaldriveconfigsettingpage" << QSize(650, 320)
        << QStringList{"stretch", "widget excludeListTbl", "stretch",
                       buttons("btnDefaultGeneral", "btnApplyGeneral"), "spacing 45"}
        << QStringList{};
    QTest::newRow("Web/Email") << "firewallsettingpage" << QSize(650, 350)
                               << QStringList{"stretch", labelled("btnFirewallConfig"), "stretch",
                                              buttons("btnDefaultFirewall", "btnApplyFirewall"),
                                              "spacing 36"}
                               << QStringList{"Firewall"};
    QTest::newRow("Update") << "updatesettingpage" << QSize(650, 350)
                            << QStringList{"stretch",
                                           labelled("btnUpdateConfig"),
                                           "stretch",
                                           labelled("QComboBox"),
                                           "stretch",
                                           buttons("btnDefaultFirewall", "btnApplyGeneral"),
                                           "spacing 36"}
                            << QStringList{"Update Frequency", "Automatic Update"};
}

void SettingsStructureTest::subPageIsLaidOut()
{
    QFETCH(QString, name);
    QFETCH(QSize, size);
    QFETCH(QStringList, items);
    QFETCH(QStringList, labels);
    const QString tab = QTest::currentDataTag();
    QWidget *page = subPage(tab);
    QCOMPARE(page->objectName(), name);
    QCOMPARE(page->minimumSize(), size);
    QCOMPARE(page->maximumSize(), size);
    const bool exclusions = tab == "Exclude Scan List";
    QCOMPARE(page->contentsMargins(), exclusions ? QMargins(20, 0, 20, 0) : QMargins());
    QCOMPARE(layoutOf(page), items);
    QVERIFY(isTight(page));

    QStringList texts;
    for (auto *label : page->findChildren<QLabel *>()) {
        texts << label->text();
        QCOMPARE(alignmentOf(label), Qt::AlignLeft);
    }
    QCOMPARE(texts, labels);

    QStringList captions;
    for (auto *button : page->findChildren<QToolButton *>()) {
        if (!button->text().isEmpty()) {
            captions << button->text();
            QCOMPARE(button->toolButtonStyle(), Qt::ToolButtonTextOnly);
            QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        }
    }
    QCOMPARE(captions,
             exclusions ? QStringList({"REMOVE", "ADD"}) : QStringList({"DEFAULT", "APPLY"}));
}

void SettingsStructureTest::switchIsBuilt_data()
{
    QTest::addColumn<QString>("meaning");
    QTest::newRow("btnScanArchive") << "Scan Archive";
    QTest::newRow("btnScanPacked") << "Scan Packed";
    QTest::newRow("btnExternalDriveScan") << "External Drive Scan";
    QTest::newRow("btnFirewallConfig") << "Firewall";
    QTest::newRow("btnUpdateConfig") << "Automatic Update";
}

void SettingsStructureTest::switchIsBuilt()
{
    QFETCH(QString, meaning);
    auto *button = page_->findChild<QToolButton *>(QTest::currentDataTag());
    QVERIFY(button->text().isEmpty());
    QVERIFY(button->isCheckable());
    QVERIFY(!button->isChecked());
    QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(button->accessibleName(), meaning);
    const bool right = button->objectName() == "btnUpdateConfig";
    QCOMPARE(alignmentOf(button), right ? Qt::AlignRight : Qt::Alignment());
}

void SettingsStructureTest::actionBoxesListTheActions()
{
    const auto boxes = subPage("Scan Actions")->findChildren<QComboBox *>();
    QCOMPARE(boxes.size(), 6);
    for (int i = 0; i < boxes.size(); ++i) {
        QStringList items;
        for (int j = 0; j < boxes[i]->count(); ++j) {
            items << boxes[i]->itemText(j);
        }
        QStringList expected = {"Disinfect", "Disinfect & Delete", "Delete", "Report Only"};
        if (i % 2 == 1) {
            expected.removeFirst();
        }
        QCOMPARE(items, expected);
        QCOMPARE(boxes[i]->currentIndex(), 0);
        QCOMPARE(boxes[i]->minimumSize(), QSize(200, 30));
        QCOMPARE(boxes[i]->maximumSize(), QSize(200, 30));
        QCOMPARE(boxes[i]->cursor().shape(), Qt::PointingHandCursor);
        QVERIFY(boxes[i]->accessibleName().endsWith(" files"));
    }
}

void SettingsStructureTest::frequencyBoxListsTheHours()
{
    auto *box = subPage("Update")->findChild<QComboBox *>();
    QStringList items;
    for (int i = 0; i < box->count(); ++i) {
        items << box->itemText(i);
    }
    QCOMPARE(items, QStringList({"1 Hour", "2 Hour", "6 Hour", "24 Hour"}));
    QCOMPARE(box->minimumSize(), QSize(100, 30));
    QCOMPARE(box->maximumSize(), QSize(100, 30));
    QCOMPARE(box->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(box->accessibleName(), QString("Update Frequency"));
    QCOMPARE(alignmentOf(box), Qt::AlignRight);
}

void SettingsStructureTest::exclusionTableIsBuilt()
{
    auto *table = page_->findChild<QTableWidget *>("excludeListTbl");
    QCOMPARE(table->minimumSize(), QSize(610, 180));
    QCOMPARE(table->maximumSize(), QSize(610, 180));
    QCOMPARE(table->columnWidth(0), 350);
    QCOMPARE(captionsOf(table), QStringList({"Path/Extension", "Type"}));
    QCOMPARE(listTableFault(table), QString());
}

void SettingsStructureTest::startsUntouchedByEngine()
{
    QCOMPARE(engineCalls(), QStringList());
}

QTEST_MAIN(SettingsStructureTest)
#include "settingsstructure_test.moc"
