// The settings page of the installed product, used by a person: what is applied there outlives the
// service, and scans go by it.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.

#include "product/desktop.h"
#include "product/installation.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace
{

const QByteArray kUnwanted = "a program that nobody asked for";
const char kApplied[] = "Current settings applied successfully";
const char kDefaults[] = "Default settings applied successfully";

using Person = std::function<void(const Desktop &)>;

// A person's steps went as they should: `failure` names the one that did not.
#define SUCCEEDS(...)                                                                              \
    do {                                                                                           \
        const std::string failure = __VA_ARGS__;                                                   \
        QVERIFY2(failure.empty(), failure.c_str());                                                \
    } while (false)

void expect(const QString &seen, const QString &wanted)
{
    if (seen != wanted)
        throw Failure(("saw \"" + seen + "\" instead of \"" + wanted + '"').toStdString());
}

void expect(const QStringList &seen, const QStringList &wanted)
{
    expect(seen.join(", "), wanted.join(", "));
}

// Every visible widget of a kind in the panel's window and in what stands in front of it.
template <typename W> QList<W *> visible()
{
    QList<W *> found;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        for (W *candidate : window->findChildren<W *>()) {
            if (candidate->isVisible())
                found << candidate;
        }
    }
    return found;
}

// "btnScanArchive on" for every switch and "Update Frequency: 2 Hour" for every box on the page.
QStringList shown(const Desktop &desktop)
{
    return desktop.see<QStringList>([] {
        QStringList values;
        for (const QToolButton *button : visible<QToolButton>()) {
            if (button->isCheckable() && button->text().isEmpty())
                values << button->objectName() + (button->isChecked() ? " on" : " off");
        }
        for (const QComboBox *box : visible<QComboBox>())
            values << box->accessibleName() + ": " + box->currentText();
        return values;
    });
}

// The rows of the list of exclusions: "Location /tmp".
QStringList listed(const Desktop &desktop)
{
    return desktop.see<QStringList>([] {
        QStringList rows;
        for (const QTableWidget *table : visible<QTableWidget>()) {
            for (int row = 0; row < table->rowCount(); ++row)
                rows << table->item(row, 1)->text() + ' ' + table->item(row, 0)->text();
        }
        return rows;
    });
}

QWidget *prompt()
{
    QWidget *dialog = QApplication::activeModalWidget();
    return dialog && dialog->objectName() == "dlgManagePwd" ? dialog : nullptr;
}

// Goes to a tab. The one that is shown already would uncheck itself.
void show(const Desktop &desktop, const QString &tab)
{
    const auto button = [&tab] {
        for (QToolButton *candidate : visible<QToolButton>()) {
            if (candidate->objectName() == tab)
                return candidate;
        }
        return static_cast<QToolButton *>(nullptr);
    };
    desktop.await(tab.toStdString(), [&] { return button() != nullptr; });
    if (!desktop.see<bool>([&] { return button()->isChecked(); }))
        desktop.click(tab.toUtf8().constData());
    desktop.await(tab.toStdString() + " to be shown", [&] { return button()->isChecked(); });
}

void openSettings(const Desktop &desktop, const QStringList &tabs = {})
{
    desktop.click("btnSettings");
    for (const QString &tab : tabs)
        show(desktop, tab);
}

void apply(const Desktop &desktop)
{
    desktop.clickText("APPLY");
    expect(desktop.answerMessage(), kApplied);
}

void takeDefaults(const Desktop &desktop)
{
    desktop.clickText("DEFAULT");
    expect(desktop.answerMessage(), kDefaults);
}

void exclude(const Desktop &desktop, const QString &location)
{
    desktop.clickText("ADD");
    desktop.pick("Exclude Type", "Location");
    desktop.clickText("BROWSE");
    desktop.choose(location);
    desktop.clickText("OK");
}

void excludeExtension(const Desktop &desktop, const QString &extension)
{
    desktop.clickText("ADD");
    desktop.type("Extension", extension);
    desktop.clickText("OK");
}

void remove(const Desktop &desktop, const QString &row)
{
    const int number = listed(desktop).indexOf(row);
    if (number < 0)
        throw Failure("not in the list: " + row.toStdString());
    const auto table = [] { return visible<QTableWidget>().first(); };
    const QModelIndex index = desktop.see<QModelIndex>([&] {
        const QModelIndex cell = table()->model()->index(number, 0);
        table()->scrollTo(cell);
        return cell;
    });
    desktop.clickItem(index, desktop.see<QTableWidget *>(table));
    desktop.clickText("REMOVE");
    desktop.await("the row to go", [&] {
        return table()->rowCount() == 0 ||
               !table()->findItems(row.section(' ', 1), Qt::MatchExactly).size();
    });
}

void answerPrompt(const Desktop &desktop, const QString &password)
{
    desktop.type("Password", password);
    desktop.clickText("APPLY");
}

} // namespace

class ProductSettingsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase();

    void holdsEachTab_data();
    void holdsEachTab();
    void looksIntoArchivesAsSet();
    void unpacksProgramsAsSet();
    void actsAsSet();
    void leavesOutWhatIsExcluded();
    void guardsSettingsByPassword();
    void bringsBackWhatWasExported();
    void opensManyExclusions();

private:
    void restart();
    bool finds(const QString &path);
    bool findsIn(const QString &testFile);
    QString inPlace(const QString &name) const { return place_->filePath(name); }
    QStringList left() const;

    QTemporaryDir home_;
    std::unique_ptr<QTemporaryDir> place_;
    QString state_;
    std::unique_ptr<Engine> engine_;
};

void ProductSettingsTest::initTestCase()
{
    QVERIFY(home_.isValid());
    QVERIFY(QDir::setCurrent(home_.path()));
    write(home_.filePath("set/test.ndb"), "Talo.Test.Eicar:0:0:" + eicar().toHex() +
                                              "\nPUA.Talo.Test:0:0:" + kUnwanted.toHex() + '\n');
    // A program of the test files, by its size and MD5.
    write(home_.filePath("set/test.hdb"),
          "aa15bcf478d165efd2065190eb473bcb:544:Talo.Test.Program\n");
    engine_ = std::make_unique<Engine>(home_.path());
}

// Every test begins with a service that has never been used.
void ProductSettingsTest::init()
{
    place_ = std::make_unique<QTemporaryDir>(home_.filePath("place-XXXXXX"));
    QVERIFY(place_->isValid());
    state_ = inPlace("state");
    restart();
}

void ProductSettingsTest::cleanupTestCase()
{
    engine_.reset();
}

void ProductSettingsTest::restart()
{
    engine_->start(state_, {"--signatures", home_.filePath("set")});
}

// Scans with the product's own terminal program.
bool ProductSettingsTest::finds(const QString &path)
{
    int code = -1;
    const QByteArray output = run(QString(kPrefix) + "/bin/talo", {"scan", path}, &code);
    if (code != 0 && code != 1)
        throw Failure("the scan failed: " + output.toStdString());
    return code == 1;
}

// The same with a copy, since what is found is deleted.
bool ProductSettingsTest::findsIn(const QString &testFile)
{
    const QString copy = inPlace(QFileInfo(testFile).fileName());
    QFile::remove(copy);
    if (!QFile::copy(testFile, copy))
        throw Failure("cannot copy " + testFile.toStdString());
    return finds(copy);
}

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
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tabs);
        expect(shown(desktop), changed);
        takeDefaults(desktop);
        expect(shown(desktop), defaults);
    }));
    restart();
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
        expect(findsIn(archive) ? "found" : "clean", "found");
        openSettings(desktop);
        desktop.click("btnScanArchive");
        expect(findsIn(archive) ? "found" : "clean", "found"); // not before APPLY
        apply(desktop);
        expect(findsIn(archive) ? "found" : "clean", "clean");
        desktop.click("btnScanArchive");
        apply(desktop);
        expect(findsIn(archive) ? "found" : "clean", "found");
    }));
}

void ProductSettingsTest::unpacksProgramsAsSet()
{
    const QString program = "/usr/share/clamav-testfiles/clam-upx.exe";
    if (!QFile::exists(program))
        QSKIP("clamav-testfiles is not installed");
    SUCCEEDS(play([&](const Desktop &desktop) {
        expect(findsIn(program) ? "found" : "clean", "found");
        openSettings(desktop);
        desktop.click("btnScanPacked");
        apply(desktop);
        expect(findsIn(program) ? "found" : "clean", "clean");
        takeDefaults(desktop);
        expect(findsIn(program) ? "found" : "clean", "found");
    }));
}

// Which of the three files of actsAsSet() are still there.
QStringList ProductSettingsTest::left() const
{
    QStringList files;
    for (const char *name : {"infected", "suspected", ".hidden/file"}) {
        if (QFile::exists(inPlace(QString("files/") + name)))
            files << name;
    }
    return files;
}

void ProductSettingsTest::actsAsSet()
{
    write(inPlace("files/infected"), eicar());
    write(inPlace("files/suspected"), kUnwanted);
    write(inPlace("files/.hidden/file"), eicar());
    const QString files = inPlace("files");
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, {"btnScanActions"});
        desktop.pick("First action for infected files", "Report Only");
        desktop.pick("First action for hidden files", "Report Only");
        apply(desktop);
        expect(finds(files) ? "found" : "clean", "found");
        expect(left(), {"infected", "suspected", ".hidden/file"});

        desktop.pick("First action for suspected files", "Delete");
        apply(desktop);
        finds(files);
        expect(left(), {"infected", ".hidden/file"});

        desktop.pick("First action for hidden files", "Delete");
        apply(desktop);
        finds(files);
        expect(left(), QStringList{"infected"});

        desktop.pick("First action for infected files", "Delete");
        apply(desktop);
        finds(files);
        expect(left(), QStringList{});
        expect(finds(files) ? "found" : "clean", "clean");
    }));
    // What was deleted is in the quarantine.
    const QString quarantine = run(QString(kPrefix) + "/bin/talo", {"quarantine", "list"});
    for (const char *name : {"files/infected", "files/suspected", "files/.hidden/file"})
        QVERIFY2(quarantine.contains(inPlace(name)), qPrintable(quarantine));
}

void ProductSettingsTest::leavesOutWhatIsExcluded()
{
    const QString folder = inPlace("files");
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
        desktop.await("the dialog to close", [] { return !QApplication::activeModalWidget(); });
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
        desktop.await("the dialog to close", [] { return !QApplication::activeModalWidget(); });
        expect(listed(desktop), rows);
        desktop.screenshot("settings-exclusions");
        desktop.clickText("REMOVE");
        expect(desktop.answerMessage(), "Kindly select row to remove.");
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        expect(finds(folder) ? "found" : "clean", "clean");
        openSettings(desktop, tab);
        expect(listed(desktop), rows);
        remove(desktop, rows[0]);
        expect(listed(desktop), rows.mid(1));
        expect(finds(folder) ? "found" : "clean", "found");
        expect(QFile::exists(spared + "/deep/file") ? "there" : "gone", "gone");
        expect(QFile::exists(folder + "/picture.ISO") ? "there" : "gone", "there");
        remove(desktop, rows[1]);
        expect(finds(folder) ? "found" : "clean", "found");
        expect(QFile::exists(folder + "/picture.ISO") ? "there" : "gone", "gone");
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        expect(listed(desktop), QStringList{});
    }));
}

void ProductSettingsTest::guardsSettingsByPassword()
{
    const auto closed = [](const Desktop &desktop) {
        desktop.await("the dialog to close", [] { return !QApplication::activeModalWidget(); });
    };
    const auto page = [] {
        for (const QToolButton *button : visible<QToolButton>()) {
            if (button->objectName() == "btnScanArchive")
                return true;
        }
        return false;
    };
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop);
        desktop.clickText("Manage Password");
        desktop.screenshot("settings-password-none");
        desktop.click("btnPwdConfig");
        expect(desktop.answerMessage(), "Please create password first.");
        expect(shown(desktop).filter("btnPwdConfig"), QStringList{"btnPwdConfig off"});
        desktop.clickText("CREATE");
        desktop.type("New", "first!");
        desktop.type("Confirm", "other!");
        desktop.screenshot("settings-password-create");
        desktop.clickText("OK");
        desktop.screenshot("settings-password-mismatch");
        expect(desktop.answerMessage(), "Password does not match.");
        desktop.type("New", "short");
        desktop.type("Confirm", "short");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password length should be in between 6 to 15 characters.");
        desktop.type("New", "first!");
        desktop.type("Confirm", "first!");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password has been successfully created.");
        closed(desktop);

        desktop.clickText("Manage Password");
        desktop.screenshot("settings-password-off");
        desktop.click("btnPwdConfig");
        desktop.type("Password", "wrong!");
        desktop.screenshot("settings-password-prompt");
        desktop.clickText("APPLY");
        expect(desktop.answerMessage(), "Password does not match.");
        answerPrompt(desktop, "first!");
        closed(desktop);

        desktop.clickText("Manage Password");
        expect(shown(desktop).filter("btnPwdConfig"), QStringList{"btnPwdConfig on"});
        desktop.screenshot("settings-password-on");
        desktop.clickText("RESET");
        desktop.screenshot("settings-password-reset");
        desktop.answerMessage(QMessageBox::No);
        closed(desktop);
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        desktop.await("the prompt", [] { return prompt() != nullptr; });
        desktop.screenshot("settings-gate");
        answerPrompt(desktop, "wrong!");
        expect(desktop.answerMessage(), "Password does not match.");
        desktop.await("the prompt again", [] { return prompt() != nullptr; });
        expect(desktop.see<bool>(page) ? "open" : "shut", "shut");
        answerPrompt(desktop, "first!");
        desktop.await("the page", page);
        // Whoever gave it may change settings.
        desktop.click("btnScanArchive");
        apply(desktop);

        desktop.clickText("Manage Password");
        desktop.clickText("CHANGE");
        desktop.type("Current", "wrong!");
        desktop.type("New", "second");
        desktop.type("Confirm", "second");
        desktop.screenshot("settings-password-change");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Old password does not match.");
        desktop.type("Current", "first!");
        desktop.clickText("OK");
        expect(desktop.answerMessage(), "Password updated successfully.");
        desktop.press("Escape");
        closed(desktop);
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        answerPrompt(desktop, "first!");
        expect(desktop.answerMessage(), "Password does not match.");
        answerPrompt(desktop, "second");
        desktop.await("the page", page);
        expect(shown(desktop), {"btnScanArchive off", "btnScanPacked on"});
        desktop.clickText("Manage Password");
        desktop.click("btnPwdConfig");
        desktop.press("Escape");
        closed(desktop);
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        desktop.click("btnSettings");
        desktop.await("the page", page);
    }));
}

void ProductSettingsTest::bringsBackWhatWasExported()
{
    const QString folder = inPlace("saved");
    QVERIFY(QDir().mkpath(folder));
    QVERIFY(QDir().mkpath(inPlace("empty")));
    const QString spared = inPlace("spared");
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

        desktop.clickText("Import/Export");
        desktop.clickText("IMPORT");
        desktop.choose(inPlace("empty"));
        expect(desktop.answerMessage(), "Failed to import, invalid settings file found");
        desktop.clickText("Import/Export");
        desktop.clickText("IMPORT");
        desktop.choose(folder);
        expect(desktop.answerMessage(), "Settings imported from\n" + folder + "/Settings.ini");
    }));
    restart();
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop);
        expect(shown(desktop), general);
        show(desktop, "btnExcludeScanList");
        expect(listed(desktop), rows);
        show(desktop, "btnUpdateSettings");
        expect(shown(desktop), update);
    }));
}

void ProductSettingsTest::opensManyExclusions()
{
    constexpr int kMany = 10000;
    const QString folder = inPlace("files");
    QVERIFY(QDir().mkpath(folder));
    const QString saved = folder + "/Settings.ini";
    const QStringList tab{"btnExcludeScanList"};
    QStringList rows;
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        desktop.clickText("Import/Export");
        desktop.clickText("EXPORT");
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
        desktop.clickText("Import/Export");
        desktop.clickText("IMPORT");
        desktop.choose(folder);
        expect(desktop.answerMessage(), "Settings imported from\n" + saved);
    }));
    restart();
    write(folder + QString("/spared%1/file").arg(kMany), eicar());
    SUCCEEDS(play([&](const Desktop &desktop) {
        openSettings(desktop, tab);
        expect(listed(desktop), rows);
        desktop.screenshot("settings-exclusions-many");
        expect(finds(folder) ? "found" : "clean", "clean");
        remove(desktop, rows.last());
        rows.removeLast();
        expect(listed(desktop), rows);
        expect(finds(folder) ? "found" : "clean", "found");
    }));
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductSettingsTest>(); });
}

#include "settings_test.moc"
