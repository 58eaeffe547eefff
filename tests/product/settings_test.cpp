// The settings page of the installed product, used by a person: what is applied there outlives the
// service, and scans go by it.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "product/desktop.h"
#include "product/freshservice.h"
#include "product/installation.h"
#include "product/settingspage.h"

#include <QFile>
#include <QtTest>

#include <memory>

using namespace talo::test;

class ProductSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { service_ = std::make_unique<FreshService>(); }
    void init() { service_->begin(); }
    void cleanupTestCase() { service_.reset(); }

    void holdsEachTab_data();
    void holdsEachTab();
    void looksIntoArchivesAsSet();
    void unpacksProgramsAsSet();
    void actsAsSet();
    void leavesOutWhatIsExcluded();

private:
    std::unique_ptr<FreshService> service_;
};

void ProductSettingsTest::holdsEachTab_data()
{
    QTest::addColumn<QStringList>("tabs");
    QTest::addColumn<QStringList>("switches");
    QTest::addColumn<QStringList>("picks");
    QTest::addColumn<QStringList>("fresh"); // empty where these are the defaults
    QTest::addColumn<QStringList>("defaults");
    QTest::addColumn<QStringList>("changed");

    QTest::newRow("general") << QStringList{"btnGeneral"}
                             << QStringList{"btnScanArchive", "btnScanPacked"} << QStringList{}
                             << QStringList{}
                             << QStringList{"btnScanArchive on", "btnScanPacked on"}
                             << QStringList{"btnScanArchive off", "btnScanPacked off"};
    const QStringList boxes{"First action for infected files",  "Second action for infected files",
                            "First action for suspected files", "Second action for suspected files",
                            "First action for hidden files",    "Second action for hidden files"};
    const auto all = [&boxes](const QStringList &values) {
        QStringList joined;
        for (int box = 0; box < boxes.size(); ++box)
            joined << boxes[box] + ": " + values[box];
        return joined;
    };
    const QStringList actions = all({"Delete", "Report Only", "Disinfect", "Disinfect & Delete",
                                     "Disinfect & Delete", "Report Only"});
    QTest::newRow("scan-actions") << QStringList{"btnScanActions"} << QStringList{} << actions
                                  << QStringList{}
                                  << all({"Disinfect", "Delete", "Report Only", "Report Only",
                                          "Disinfect", "Delete"})
                                  << actions;
    QTest::newRow("external-drive")
        << QStringList{"btnExternalDrive"} << QStringList{"btnExternalDriveScan"} << QStringList{}
        << QStringList{} << QStringList{"btnExternalDriveScan on"}
        << QStringList{"btnExternalDriveScan off"};
    QTest::newRow("firewall") << QStringList{"btnWebAndEmailSettings"}
                              << QStringList{"btnFirewallConfig"} << QStringList{}
                              << QStringList{"btnFirewallConfig off"}
                              << QStringList{"btnFirewallConfig on"}
                              << QStringList{"btnFirewallConfig off"};
    QTest::newRow("update") << QStringList{"btnUpdateSettings"} << QStringList{"btnUpdateConfig"}
                            << QStringList{"Update Frequency: 24 Hour"} << QStringList{}
                            << QStringList{"btnUpdateConfig on", "Update Frequency: 6 Hour"}
                            << QStringList{"btnUpdateConfig off", "Update Frequency: 24 Hour"};
}

void ProductSettingsTest::holdsEachTab()
{
    QFETCH(QStringList, tabs);
    QFETCH(QStringList, switches);
    QFETCH(QStringList, picks);
    QFETCH(QStringList, fresh);
    QFETCH(QStringList, defaults);
    QFETCH(QStringList, changed);

    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tabs);
        expect(shown(desktop), fresh.isEmpty() ? defaults : fresh);
        desktop.screenshot(std::string("settings-") + QTest::currentDataTag());
        takeDefaults(desktop);
        for (const QString &name : switches)
            desktop.click(name.toUtf8().constData());
        for (const QString &choice : picks)
            desktop.pick(choice.section(": ", 0, 0), choice.section(": ", 1));
        expect(shown(desktop), changed);
        desktop.clickText("APPLY");
        desktop.screenshot(std::string("settings-applied-") + QTest::currentDataTag());
        expect(desktop.answerMessage(), kApplied);
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tabs);
        expect(shown(desktop), changed);
        takeDefaults(desktop);
        expect(shown(desktop), defaults);
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tabs);
        expect(shown(desktop), defaults);
    }));
}

void ProductSettingsTest::looksIntoArchivesAsSet()
{
    const QString archive = "/usr/share/clamav-testfiles/clam.zip";
    if (!QFile::exists(archive))
        QSKIP("clamav-testfiles is not installed");
    SUCCEEDS(play([&](const Desktop &desktop) {
        expect(service_->scanCopy(archive), "found");
        openSettings(desktop);
        desktop.click("btnScanArchive");
        expect(service_->scanCopy(archive), "found"); // not before APPLY
        apply(desktop);
        expect(service_->scanCopy(archive), "clean");
        desktop.click("btnScanArchive");
        apply(desktop);
        expect(service_->scanCopy(archive), "found");
    }));
}

void ProductSettingsTest::unpacksProgramsAsSet()
{
    const QString program = "/usr/share/clamav-testfiles/clam-upx.exe";
    if (!QFile::exists(program))
        QSKIP("clamav-testfiles is not installed");
    SUCCEEDS(play([&](const Desktop &desktop) {
        expect(service_->scanCopy(program), "found");
        openSettings(desktop);
        desktop.click("btnScanPacked");
        apply(desktop);
        expect(service_->scanCopy(program), "clean");
        takeDefaults(desktop);
        expect(service_->scanCopy(program), "found");
    }));
}

void ProductSettingsTest::actsAsSet()
{
    write(service_->inPlace("files/infected"), eicar());
    write(service_->inPlace("files/suspected"), kUnwanted);
    write(service_->inPlace("files/.hidden/file"), eicar());
    const QString files = service_->inPlace("files");
    const auto left = [&] {
        QStringList names;
        for (const char *name : {"infected", "suspected", ".hidden/file"}) {
            if (QFile::exists(files + '/' + name))
                names << name;
        }
        return names;
    };
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, {"btnScanActions"});
        desktop.pick("First action for infected files", "Report Only");
        desktop.pick("First action for hidden files", "Report Only");
        apply(desktop);
        expect(FreshService::scan(files), "found");
        expect(left(), {"infected", "suspected", ".hidden/file"});

        desktop.pick("First action for suspected files", "Delete");
        apply(desktop);
        FreshService::scan(files);
        expect(left(), {"infected", ".hidden/file"});

        desktop.pick("First action for hidden files", "Delete");
        apply(desktop);
        FreshService::scan(files);
        expect(left(), QStringList{"infected"});

        desktop.pick("First action for infected files", "Delete");
        apply(desktop);
        FreshService::scan(files);
        expect(left(), QStringList{});
        expect(FreshService::scan(files), "clean");
    }));
    // What was deleted is in the quarantine.
    const QString quarantine = run(QString(kPrefix) + "/bin/talo", {"quarantine", "list"});
    for (const char *name : {"files/infected", "files/suspected", "files/.hidden/file"})
        QVERIFY2(quarantine.contains(service_->inPlace(name)), qPrintable(quarantine));
}

void ProductSettingsTest::leavesOutWhatIsExcluded()
{
    const QString folder = service_->inPlace("files");
    const QString spared = folder + "/spared";
    write(spared + "/deep/file", eicar());
    write(folder + "/picture.ISO", eicar());
    write(folder + "/text", "nothing here\n"); // a scan of nothing at all would be a failure
    const QStringList tab{"btnExcludeScanList"};
    const QStringList rows{"Location " + spared, "Extension iso"};
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        desktop.screenshot("settings-exclusions-none");
        expect(listed(desktop), QStringList{});
        desktop.clickText("ADD");
        desktop.screenshot("settings-exclusion-extension");
        desktop.type("Extension", ".iso");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Please enter extension without [.] dot or space");
        awaitClosed(desktop);
        expect(listed(desktop), QStringList{});
        excludeExtension(desktop, "iso");

        desktop.clickText("ADD");
        desktop.pick("Exclude Type", "Location");
        desktop.screenshot("settings-exclusion-location");
        desktop.clickText("BROWSE");
        desktop.mark(spared);
        desktop.screenshot("settings-exclusion-chooser");
        desktop.clickText("OK");
        desktop.screenshot("settings-exclusion-chosen");
        desktop.clickText("OK");
        awaitClosed(desktop);
        expect(listed(desktop), rows);
        desktop.screenshot("settings-exclusions");
        desktop.clickText("REMOVE");
        expect(desktop.answerMessage(), "Kindly select row to remove.");
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        expect(FreshService::scan(folder), "clean");
        openSettings(desktop, tab);
        expect(listed(desktop), rows);
        remove(desktop, rows[0]);
        expect(listed(desktop), rows.mid(1));
        expect(FreshService::scan(folder), "found");
        expect(QFile::exists(spared + "/deep/file") ? "there" : "gone", "gone");
        expect(QFile::exists(folder + "/picture.ISO") ? "there" : "gone", "there");
        remove(desktop, rows[1]);
        expect(FreshService::scan(folder), "found");
        expect(QFile::exists(folder + "/picture.ISO") ? "there" : "gone", "gone");
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        expect(listed(desktop), QStringList{});
    }));
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductSettingsTest>(); });
}

#include "settings_test.moc"
