// The advanced tools of the installed product: a person finds and deletes duplicates, shreds a
// file, and asks for USB storage to be blocked.
//
// Needs root, for a /usr/local of its own; the product then runs as an ordinary user.
#include "engine/libpassword.h"
#include "engine/libsettings.h"
#include "product/desktop.h"
#include "product/installation.h"
#include "product/settingspage.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QRadioButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

template <typename Widget> Widget *visibleWidget()
{
    for (const QWidget *window : QApplication::topLevelWidgets())
        for (Widget *candidate : window->findChildren<Widget *>())
            if (candidate->isVisible())
                return candidate;
    return nullptr;
}

// The rows of the shredder's list: "letter.txt Pending".
QStringList shredList(const Desktop &desktop)
{
    return desktop.see<QStringList>([] {
        QStringList rows;
        const auto *table = visibleWidget<QTableWidget>();
        for (int row = 0; table != nullptr && row < table->rowCount(); ++row)
            rows << table->item(row, 0)->text().section('/', -1) + ' ' +
                        table->item(row, 1)->text();
        return rows;
    });
}

// To be looked at on the GUI thread.
QString labelText(const char *name)
{
    for (const QWidget *window : QApplication::topLevelWidgets())
        for (const QLabel *label : window->findChildren<QLabel *>(name))
            if (label->isVisible())
                return label->text();
    return {};
}

void openTool(const Desktop &desktop, const char *tile)
{
    desktop.click("btnAdvancedTools");
    desktop.click(tile);
}

} // namespace

class ProductToolsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void duplicatesAreFoundAndDeleted();
    void theLastCopyStays();
    void filesAreShredded();
    void usbStorageTakesAPassword();
    void thePasswordChangesTheUsbSetting();
    void aSearchEndsWithThePanel();
    void cleanupTestCase() { engine_.reset(); }

private:
    QString path(const QString &name) const { return home_.filePath(name); }

    QTemporaryDir home_;
    std::unique_ptr<Engine> engine_;
};

void ProductToolsTest::initTestCase()
{
    QVERIFY(home_.isValid());
    engine_ = std::make_unique<Engine>(home_.path());
    engine_->start(path("state"));
}

void ProductToolsTest::duplicatesAreFoundAndDeleted()
{
    const QByteArray content(200000, 'x');
    write(path("pictures/first.jpg"), content);
    write(path("pictures/2026/again, \"and\" again.jpg"), content);
    write(path("pictures/2026/once more.jpg"), content);
    write(path("pictures/other.jpg"), QByteArray(200000, 'y'));
    SUCCEEDS(play([this](const Desktop &desktop) {
        openTool(desktop, "btnDuplicateFinder");
        desktop.clickText("BROWSE");
        desktop.choose(path("pictures"));
        desktop.clickText("START");
        expect(desktop.answerMessage(), "Total duplicate files found: 2\n"
                                        "Total disk space to be freed: 390 KB");
        const auto group = [] { return visibleWidget<QTreeWidget>()->topLevelItem(0); };
        expect(desktop.see<QString>([&] {
            visibleWidget<QTreeWidget>()->expandAll();
            return QString::number(visibleWidget<QTreeWidget>()->topLevelItemCount()) + ' ' +
                   QString::number(group()->childCount());
        }),
               "1 3");
        desktop.screenshot("duplicates");
        desktop.clickText("DELETE");
        // All three are ticked; the oldest stays all the same.
        expect(desktop.answerMessage(), "2 duplicate files are deleted successfully.");
    }));
    QCOMPARE(
        QDir(path("pictures")).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot).size() +
            QDir(path("pictures/2026")).entryList(QDir::Files).size(),
        3); // the folder, the other picture, and one copy
    QVERIFY(QFile::exists(path("pictures/other.jpg")));
}

void ProductToolsTest::theLastCopyStays()
{
    SUCCEEDS(play([this](const Desktop &desktop) {
        openTool(desktop, "btnDuplicateFinder");
        desktop.clickText("BROWSE");
        desktop.choose(path("pictures"));
        desktop.clickText("START");
        expect(desktop.answerMessage(), "No duplicate files found");
    }));
}

void ProductToolsTest::filesAreShredded()
{
    write(path("letters/letter.txt"), "secret\n");
    write(path("letters/twin.txt"), "kept\n");
    QVERIFY(QFile::link(path("letters/twin.txt"), path("letters/link.txt")));
    SUCCEEDS(play([this](const Desktop &desktop) {
        openTool(desktop, "btnShredder");
        for (const char *name : {"letters/letter.txt", "letters/link.txt"}) {
            desktop.clickText("ADD");
            desktop.choose(path(name));
        }
        expect(shredList(desktop), {"letter.txt Pending", "link.txt Pending"});
        const auto select = [&desktop](int row) {
            desktop.clickItem(desktop.see<QModelIndex>([row] {
                return visibleWidget<QTableWidget>()->model()->index(row, 0);
            }),
                              visibleWidget<QTableWidget>());
        };
        select(0);
        desktop.clickText("SHRED");
        expect(desktop.answerMessage(), "File is successfully shred.");
        expect(shredList(desktop), {"link.txt Pending", "letter.txt Shredded"});
        desktop.screenshot("shredder");
        select(0);
        desktop.clickText("SHRED");
        expect(desktop.answerMessage(), "Unable to remove file.");
        expect(shredList(desktop), {"link.txt Pending", "letter.txt Shredded"});
    }));
    QCOMPARE(QDir(path("letters")).entryList(QDir::Files), QStringList({"link.txt", "twin.txt"}));
    QFile twin(path("letters/twin.txt"));
    QVERIFY(twin.open(QIODevice::ReadOnly));
    QCOMPARE(twin.readAll(), QByteArray("kept\n"));
}

void ProductToolsTest::usbStorageTakesAPassword()
{
    SUCCEEDS(play([](const Desktop &desktop) {
        openTool(desktop, "btnDataTheft");
        desktop.await("the stored state", [] { return labelText("lblRRInfo") == "OFF"; });
        desktop.clickText("Disable USB");
        desktop.clickText("APPLY");
        expect(desktop.answerMessage(),
               "To use this feature, Please create password first from settings.\n\nGo to "
               "settings -> Manage password");
        desktop.screenshot("data-theft");
    }));
}

void ProductToolsTest::thePasswordChangesTheUsbSetting()
{
    QCOMPARE(libPassword::createpass("secret1", "secret1", 0), 0);
    SUCCEEDS(play([](const Desktop &desktop) {
        openTool(desktop, "btnDataTheft");
        desktop.clickText("Disable USB");
        desktop.clickText("APPLY");
        desktop.type("Password", "secret2");
        desktop.clickText("APPLY");
        expect(desktop.answerMessage(), "Password does not match.");
        desktop.type("Password", "secret1");
        desktop.clickText("APPLY");
        desktop.await("the new state", [] { return labelText("lblRRInfo") == "ON"; });
    }));
    int blocked = 0;
    QCOMPARE(libSettings::GetDeviceControlSetting(&blocked), 0);
    QCOMPARE(blocked, 1);

    engine_->start(path("state"));
    SUCCEEDS(play([](const Desktop &desktop) {
        openTool(desktop, "btnDataTheft");
        desktop.await("the stored state", [] { return labelText("lblRRInfo") == "ON"; });
        desktop.clickText("Full Access");
        desktop.clickText("APPLY");
        desktop.type("Password", "secret1");
        desktop.clickText("APPLY");
        desktop.await("the new state", [] { return labelText("lblRRInfo") == "OFF"; });
    }));
    QCOMPARE(libSettings::GetDeviceControlSetting(&blocked), 0);
    QCOMPARE(blocked, 0);
}

// Nothing is left behind of it, and nothing crashes.
void ProductToolsTest::aSearchEndsWithThePanel()
{
    for (int at = 0; at < 3000; ++at)
        write(path("many/" + QString::number(at)), QByteArray(4096, char('a' + at % 20)));
    SUCCEEDS(play([this](const Desktop &desktop) {
        openTool(desktop, "btnDuplicateFinder");
        desktop.clickText("BROWSE");
        desktop.choose(path("many"));
        desktop.clickText("START");
    }));
    // The search of the window that has gone ends in its own time.
    QTest::qWait(100);
    QCOMPARE(QDir(path("many")).entryList(QDir::Files).size(), 3000);
}

int main(int argc, char **argv)
{
    return testInstalled(argc, argv, TALO_BUILD_FOLDER,
                         [] { return std::make_unique<ProductToolsTest>(); });
}

#include "tools_test.moc"
