// The settings page's list of exclusions from scanning.
#include "pages/excludescan.h"
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QTableWidget>
#include <QTextEdit>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class SettingsExclusionsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void listShowsLocationsThenExtensions_data();
    void listShowsLocationsThenExtensions();
    void cellsAreCentred();
    void emptyListCannotBeRemovedFrom();
    void reloadEmptiesTheListFirst();
    void removeNeedsARow();
    void removePassesTheEntry_data();
    void removePassesTheEntry();
    void removeIgnoresOtherTypes();
    void addReloadsWhateverHappens_data();
    void addReloadsWhateverHappens();
    void tenThousandEntriesOpenAtOnce();

private:
    QTableWidget *table() const { return page_->findChild<QTableWidget *>("excludeListTbl"); }
    QToolButton *button(const char *name) const { return visibleButton(page_.get(), name); }
    QStringList rows() const;

    std::unique_ptr<Settings> page_;
};

namespace
{

const QStringList kListReload = {"libExcludeSetting::GetExcludeScanList", "NotifySettingChange"};

void scriptList(const std::string &locations, int locationCount, const std::string &extensions,
                int extensionCount)
{
    ScriptedEngine::instance().answer(
        "libExcludeSetting::GetExcludeScanList",
        {0, {locations, extensions}, {locationCount, extensionCount}});
}

} // namespace

void SettingsExclusionsTest::init()
{
    ScriptedEngine::instance().reset();
    scriptList("/srv/build,/home/user/My Films", 2, "iso", 1);
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
    QVERIFY(click(page_->findChild<QWidget *>("btnExcludeScanList")));
    ScriptedEngine::instance().clearCalls();
}

QStringList SettingsExclusionsTest::rows() const
{
    QStringList rows;
    for (int i = 0; i < table()->rowCount(); ++i) {
        rows << table()->item(i, 0)->text() + " = " + table()->item(i, 1)->text();
    }
    return rows;
}

void SettingsExclusionsTest::listShowsLocationsThenExtensions_data()
{
    QTest::addColumn<QString>("locations");
    QTest::addColumn<int>("locationCount");
    QTest::addColumn<QString>("extensions");
    QTest::addColumn<int>("extensionCount");
    QTest::addColumn<QStringList>("shown");
    QTest::newRow("both kinds") << "/a,/b" << 2 << "iso" << 1
                                << QStringList{"/a = Location", "/b = Location", "iso = Extension"};
    QTest::newRow("no locations") << "" << 0 << "iso,vdi" << 2
                                  << QStringList{"iso = Extension", "vdi = Extension"};
    QTest::newRow("no extensions") << "/a" << 1 << "" << 0 << QStringList{"/a = Location"};
    QTest::newRow("the count decides")
        << "/a,/b,/c" << 2 << "x,y" << 1
        << QStringList{"/a = Location", "/b = Location", "x = Extension"};
    QTest::newRow("empty parts count")
        << "/a,,/c" << 3 << "" << 0 << QStringList{"/a = Location", " = Location", "/c = Location"};
    QTest::newRow("beyond ASCII") << QString::fromUtf8("/Müll,/архив") << 2 << "" << 0
                                  << QStringList{QString::fromUtf8("/Müll = Location"),
                                                 QString::fromUtf8("/архив = Location")};
}

void SettingsExclusionsTest::listShowsLocationsThenExtensions()
{
    QFETCH(QString, locations);
    QFETCH(int, locationCount);
    QFETCH(QString, extensions);
    QFETCH(int, extensionCount);
    QFETCH(QStringList, shown);
    scriptList(locations.toStdString(), locationCount, extensions.toStdString(), extensionCount);
    page_->fillExcludeScanTabelData();
    QCOMPARE(rows(), shown);
    QCOMPARE(engineCalls(), kListReload);
    QVERIFY(button("btnDefaultGeneral")->isEnabled());
}

void SettingsExclusionsTest::cellsAreCentred()
{
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 2; ++column) {
            QCOMPARE(table()->item(row, column)->textAlignment(), int(Qt::AlignCenter));
        }
    }
}

void SettingsExclusionsTest::emptyListCannotBeRemovedFrom()
{
    scriptList("", 0, "", 0);
    page_->fillExcludeScanTabelData();
    QCOMPARE(table()->rowCount(), 0);
    QVERIFY(!button("btnDefaultGeneral")->isEnabled());
    QVERIFY(button("btnApplyGeneral")->isEnabled());
    scriptList("", 0, "iso", 1);
    page_->fillExcludeScanTabelData();
    QVERIFY(button("btnDefaultGeneral")->isEnabled());
}

void SettingsExclusionsTest::reloadEmptiesTheListFirst()
{
    table()->setCurrentCell(2, 0);
    scriptList("/only", 1, "", 0);
    page_->fillExcludeScanTabelData();
    QCOMPARE(rows(), QStringList("/only = Location"));
    QCOMPARE(table()->currentRow(), -1);
}

void SettingsExclusionsTest::removeNeedsARow()
{
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(button("btnDefaultGeneral")));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Kindly select row to remove.", page_.get(),
                      "ExcludeScan"),
             QString());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsExclusionsTest::removePassesTheEntry_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("call");
    QTest::newRow("first location")
        << 0 << "libExcludeSetting::RemoveExcludeSetting /srv/build 401";
    QTest::newRow("second location")
        << 1 << "libExcludeSetting::RemoveExcludeSetting /home/user/My Films 401";
    QTest::newRow("extension") << 2 << "libExcludeSetting::RemoveExcludeSetting iso 402";
}

void SettingsExclusionsTest::removePassesTheEntry()
{
    QFETCH(int, row);
    QFETCH(QString, call);
    const QRect cell = table()->visualItemRect(table()->item(row, 1));
    QTest::mouseClick(table()->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    ScriptedEngine::instance().answer("libExcludeSetting::RemoveExcludeSetting", {705});
    Dialogs dialogs;
    QVERIFY(click(button("btnDefaultGeneral")));
    QCOMPARE(dialogs.fault(), QString()); // neither a question nor a message
    QCOMPARE(engineCalls(), QStringList(call) + kListReload);
}

void SettingsExclusionsTest::removeIgnoresOtherTypes()
{
    table()->item(0, 1)->setText("location");
    table()->setCurrentCell(0, 0);
    QVERIFY(click(button("btnDefaultGeneral")));
    QCOMPARE(engineCalls(), kListReload);
}

void SettingsExclusionsTest::addReloadsWhateverHappens_data()
{
    QTest::addColumn<QString>("pressed");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("added") << "OK" << QStringList{"libExcludeSetting::AddExcludeSettings vdi 402"};
    QTest::newRow("cancelled") << "CANCEL" << QStringList{};
    QTest::newRow("closed") << "" << QStringList{};
}

void SettingsExclusionsTest::addReloadsWhateverHappens()
{
    QFETCH(QString, pressed);
    QFETCH(QStringList, calls);
    scriptList("", 0, "iso,vdi", 2);
    QPointer<QDialog> opened;
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        opened = dialog;
        QVERIFY(qobject_cast<ExcludeScan *>(dialog));
        QCOMPARE(dialog->parent(), nullptr);
        QTest::keyClicks(dialog->findChild<QTextEdit *>(), "vdi");
        if (pressed.isEmpty()) {
            dialog->close();
        } else {
            QVERIFY(click(talo::test::button(dialog, pressed)));
        }
    });
    QVERIFY(click(button("btnApplyGeneral")));
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(!opened);
    QCOMPARE(engineCalls(), calls + kListReload);
    QCOMPARE(rows(), QStringList({"iso = Extension", "vdi = Extension"}));
}

void SettingsExclusionsTest::tenThousandEntriesOpenAtOnce()
{
    constexpr int kMany = 10000;
    std::string locations = "/srv/0";
    for (int i = 1; i < kMany; ++i) {
        locations += ",/srv/" + std::to_string(i);
    }
    scriptList(locations, kMany, "", 0);
    QElapsedTimer timer;
    timer.start();
    page_->fillExcludeScanTabelData();
    page_->fillExcludeScanTabelData(); // the second one has rows to take away
    QCOMPARE(table()->rowCount(), kMany);
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    qInfo("two loads of 10,000 entries: %lld ms", timer.elapsed());
}

QTEST_MAIN(SettingsExclusionsTest)
#include "settingsexclusions_test.moc"
