// The settings file of the installed product, used by a person: what was exported comes back, and
// so do exclusions by the thousand.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "product/desktop.h"
#include "product/freshservice.h"
#include "product/installation.h"
#include "product/settingspage.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <memory>

using namespace talo::test;

class ProductSettingsFileTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { service_ = std::make_unique<FreshService>(); }
    void init() { service_->begin(); }
    void cleanupTestCase() { service_.reset(); }

    void bringsBackWhatWasExported();
    void opensManyExclusions();

private:
    std::unique_ptr<FreshService> service_;
};

void ProductSettingsFileTest::bringsBackWhatWasExported()
{
    const QString folder = service_->inPlace("saved");
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(QDir().mkpath(service_->inPlace("empty")));
    const QString spared = service_->inPlace("spared");
    QVERIFY(QDir().mkpath(spared));
    const QStringList general{"btnScanArchive off", "btnScanPacked on"};
    const QStringList update{"btnUpdateConfig on", "Update Frequency: 1 Hour"};
    const QStringList rows{"Location " + spared};
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop);
        desktop.click("btnScanArchive");
        apply(desktop);
        show(desktop, "btnExcludeScanList");
        exclude(desktop, spared);
        show(desktop, "btnUpdateSettings");
        desktop.pick("Update Frequency", "1 Hour");
        apply(desktop);

        desktop.clickText("Import/Export");
        desktop.screenshot("settings-import-export");
        desktop.clickText("EXPORT");
        desktop.mark(folder);
        desktop.screenshot("settings-export");
        desktop.clickText("OK");
        desktop.screenshot("settings-exported");
        expect(desktop.answerMessage(), "Settings exported to\n" + folder + "/Settings.ini");

        takeDefaults(desktop);
        show(desktop, "btnScanSettings");
        remove(desktop, rows[0]);
        show(desktop, "btnGeneral");
        takeDefaults(desktop);
        expect(shown(desktop), {"btnScanArchive on", "btnScanPacked on"});

        openSettingsFile(desktop, "IMPORT");
        desktop.choose(service_->inPlace("empty"));
        expect(desktop.answerMessage(), "Failed to import, invalid settings file found");
        openSettingsFile(desktop, "IMPORT");
        desktop.choose(folder);
        expect(desktop.answerMessage(), "Settings imported from\n" + folder + "/Settings.ini");
    }));
    service_->restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop);
        expect(shown(desktop), general);
        show(desktop, "btnExcludeScanList");
        expect(listed(desktop), rows);
        show(desktop, "btnUpdateSettings");
        expect(shown(desktop), update);
    }));
}

void ProductSettingsFileTest::opensManyExclusions()
{
    constexpr int kMany = 10000;
    const QString folder = service_->inPlace("files");
    QVERIFY(QDir().mkpath(folder));
    const QString saved = folder + "/Settings.ini";
    const QStringList tab{"btnExcludeScanList"};
    QStringList rows;
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        openSettingsFile(desktop, "EXPORT");
        desktop.choose(folder);
        desktop.answerMessage();

        QFile file(saved);
        if (!file.open(QIODevice::ReadOnly))
            throw Failure("nothing was exported");
        QByteArray entries = "[Exclusions]\n";
        for (int number = 1; number <= kMany; ++number) {
            const QString location = folder + QString("/spared%1").arg(number);
            entries += QString("Location%1=%2\n").arg(number).arg(location).toUtf8();
            rows << "Location " + location;
        }
        write(saved, file.readAll().replace("[Exclusions]\n", entries));
        openSettingsFile(desktop, "IMPORT");
        desktop.choose(folder);
        expect(desktop.answerMessage(), "Settings imported from\n" + saved);
    }));
    service_->restart();
    write(folder + QString("/spared%1/file").arg(kMany), eicar());
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        expect(listed(desktop), rows);
        desktop.screenshot("settings-exclusions-many");
        expect(FreshService::scan(folder), "clean");
        remove(desktop, rows.last());
        rows.removeLast();
        expect(listed(desktop), rows);
        expect(FreshService::scan(folder), "found");
    }));
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductSettingsFileTest>(); });
}

#include "settingsfile_test.moc"
