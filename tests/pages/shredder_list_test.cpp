// The shredder page's list: how it looks, and how files come in and go out.
#include "pages/pagesupport.h"
#include "pages/shreddersupport.h"
#include "support/scriptedengine.h"
#include "support/soon.h"
#include "support/tables.h"
#include "support/widgets.h"

#include <QDialog>
#include <QFileSystemModel>
#include <QLabel>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

#include <memory>

using namespace talo::test;

class ShredderListTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { window_ = std::make_unique<ShredderWindow>(); }
    void cleanup() { window_.reset(); }
    void declaresItsSlotsAndSignals();
    void isLaidOut();
    void tableIsLaidOut();
    void lastRowCanBeReached();
    void backLeadsToTheTools();
    void chooserIsLaidOut();
    void addsAFileAsPending();
    void addsEachFileBelowTheOthers();
    void okWithoutAClickIsRefused();
    void okWithoutAClickIsRefusedEveryTime();
    void foldersAreRefused();
    void productFilesAreRefused_data();
    void productFilesAreRefused();
    void aFileIsAddedOnce();
    void letterCaseMakesAnotherFile();
    void aShreddedFileStaysListed();
    void cancelAddsNothing();
    void removeNeedsARow();
    void removesTheRow();
    void removingTheLastRowDisables();

private:
    QString refused(const QString &path, const QString &text) const;

    std::unique_ptr<ShredderWindow> window_;
};

// Clicks the path, if there is one, and OK, and lets the warning come.
QString ShredderListTest::refused(const QString &path, const QString &text) const
{
    Dialogs dialogs;
    QString fault;
    dialogs.expectDialog([&](QDialog *chooser) {
        if (!path.isEmpty() && !clickPath(chooser->findChild<QTreeView *>(), path))
            fault = "cannot be clicked";
        if (!click(button(chooser, "OK")))
            fault = "no OK";
    });
    dialogs.expectBox();
    if (!window_->press("ADD"))
        return "no ADD";
    return fault.isEmpty() ? boxFault(dialogs, QMessageBox::Warning, text, &window_->page) : fault;
}

void ShredderListTest::declaresItsSlotsAndSignals()
{
    QCOMPARE(signalsOf(Shredder::staticMetaObject), QStringList("ShowAdvacnedToolsPage()"));
    QCOMPARE(slotsOf(Shredder::staticMetaObject),
             QStringList({"addFile()", "selectedItem(QModelIndex)", "setFilePath()",
                          "btnRemoveClicked()", "btnShredClicked()",
                          "HandleShredderSuccess(QString,int)", "HandleShredderFailed()"}));
    QCOMPARE(signalsOf(ShredderThread::staticMetaObject),
             QStringList({"SendSuccess(QString,int)", "SendFailure()"}));
}

void ShredderListTest::isLaidOut()
{
    Shredder &page = window_->page;
    QCOMPARE(page.minimumSize(), QSize(650, 420));
    QCOMPARE(page.maximumSize(), QSize(650, 420));
    QCOMPARE(page.objectName(), QString("mobileapp"));
    QCOMPARE(layoutOf(&page),
             QStringList({"spacing 5", "widget scantop", "widget DuplicateFinderbottom",
                          "widget DuplicateFinderbottom", "stretch"}));
    QVERIFY(isTight(&page));
    QCOMPARE(page.findChild<QWidget *>("scantop")->findChild<QLabel *>()->text(),
             QString("Shredder"));

    const auto bands = page.findChildren<QWidget *>("DuplicateFinderbottom");
    QCOMPARE(bands.size(), 2);
    QCOMPARE(bands[0]->minimumSize(), QSize(650, 300));
    QCOMPARE(layoutOf(bands[0]), QStringList({"row [spacing 5, widget iconShredder, spacing 5]",
                                              "widget updatecontainer"}));
    QVERIFY(isTight(bands[0]));
    QCOMPARE(bands[0]->findChild<QToolButton *>("iconShredder")->text(),
             QString("  File Shredder allows user to delete complete data from their PC securely, "
                     "without\n  any possibility of restoration."));

    QCOMPARE(bands[1]->minimumSize(), QSize(650, 50));
    QCOMPARE(visibleTexts(bands[1]), QStringList({"ADD", "REMOVE", "SHRED"}));
    for (const char *text : {"ADD", "REMOVE", "SHRED"})
        QCOMPARE(button(&page, text)->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(window_->isEnabled("ADD"));
    QVERIFY(!window_->isEnabled("REMOVE"));
    QVERIFY(!window_->isEnabled("SHRED"));
}

void ShredderListTest::tableIsLaidOut()
{
    auto *container = window_->page.findChild<QWidget *>("updatecontainer");
    QCOMPARE(container->minimumSize(), QSize(650, 220));
    QCOMPARE(layoutOf(container), QStringList({"stretch", "widget QTableWidget", "stretch"}));
    const QTableWidget *table = window_->table();
    QCOMPARE(table->minimumSize(), QSize(640, 300));
    QCOMPARE(table->maximumSize(), QSize(640, 300));
    QCOMPARE(table->rowCount(), 0);
    QCOMPARE(captionsOf(table), QStringList({"File", "Status"}));
    QCOMPARE(table->columnWidth(0), 550);
    QCOMPARE(listTableFault(table), QString());
    // The header must be inside of what the container shows.
    QCOMPARE(table->y(), 0);
}

void ShredderListTest::lastRowCanBeReached()
{
    for (int number = 10; number < 30; ++number)
        QCOMPARE(window_->addNew(QString::number(number)), QString());
    QTableWidget *table = window_->table();
    const QTableWidgetItem *last = table->item(19, 0);
    auto *container = window_->page.findChild<QWidget *>("updatecontainer");
    // Nor is the status cut off at its side.
    QTRY_VERIFY_WITH_TIMEOUT(
        table->visualItemRect(table->item(19, 1)).right() <= table->viewport()->width(), kSoon);
    const int end = container->mapTo(&window_->page, QPoint(0, container->height())).y();
    // The table lays itself out once the rows have been added.
    const auto reached = [&] {
        table->scrollToItem(last);
        const QPoint bottom = table->visualItemRect(last).bottomLeft();
        return table->viewport()->mapTo(&window_->page, bottom).y() < end;
    };
    QTRY_VERIFY_WITH_TIMEOUT(reached(), kSoon);
}

void ShredderListTest::backLeadsToTheTools()
{
    QSignalSpy spy(&window_->page, SIGNAL(ShowAdvacnedToolsPage()));
    QVERIFY(window_->press(" < BACK "));
    QCOMPARE(spy.count(), 1);
}

void ShredderListTest::chooserIsLaidOut()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), QString("Select a file to Shred"));
        QCOMPARE(chooser->parent(), nullptr);
        QCOMPARE(chooser->minimumSize(), QSize(500, 400));
        QVERIFY(chooser->isModal());
        auto *tree = chooser->findChild<QTreeView *>();
        QCOMPARE(tree->minimumSize(), QSize(480, 330));
        auto *model = qobject_cast<QFileSystemModel *>(tree->model());
        QCOMPARE(model->rootPath(), QDir::currentPath());
        QCOMPARE(model->filter(), QDir::AllEntries | QDir::NoDotAndDotDot);
        for (int column = 1; column <= 3; ++column)
            QVERIFY(tree->isColumnHidden(column));
        QCOMPARE(button(chooser, "OK")->minimumSize(), QSize(150, 30));
        QVERIFY(button(chooser, "CANCEL")->x() < button(chooser, "OK")->x());
        QVERIFY(click(button(chooser, "CANCEL")));
    });
    QVERIFY(window_->press("ADD"));
    QCOMPARE(dialogs.fault(), QString());
}

void ShredderListTest::addsAFileAsPending()
{
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(window_->rows(), QStringList("one Pending"));
    QCOMPARE(window_->table()->item(0, 0)->text(), window_->folder() + "/one");
    for (int column : {0, 1})
        QCOMPARE(window_->table()->item(0, column)->textAlignment(), int(Qt::AlignCenter));
    QVERIFY(window_->isEnabled("REMOVE"));
    QVERIFY(window_->isEnabled("SHRED"));
    QVERIFY(ScriptedEngine::instance().calls().empty());
}

void ShredderListTest::addsEachFileBelowTheOthers()
{
    for (const char *name : {"one", "two", "three"})
        QCOMPARE(window_->addNew(name), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "two Pending", "three Pending"}));
}

void ShredderListTest::okWithoutAClickIsRefused()
{
    QCOMPARE(refused("", "Please, Select a file to remove."), QString());
    QVERIFY(window_->rows().isEmpty());
    QVERIFY(!window_->isEnabled("SHRED"));
}

// What was clicked in an earlier chooser does not count.
void ShredderListTest::okWithoutAClickIsRefusedEveryTime()
{
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(refused("", "Please, Select a file to remove."), QString());
    QCOMPARE(window_->rows(), QStringList("one Pending"));
}

void ShredderListTest::foldersAreRefused()
{
    window_->file("folder/file");
    QCOMPARE(refused(window_->folder() + "/folder", "Please, Select a file to remove."), QString());
    QVERIFY(window_->rows().isEmpty());
}

void ShredderListTest::productFilesAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("in it") << "usr/local/taloantivirus/file";
    QTest::newRow("deep below") << "usr/local/taloantivirus/lib/deep/below/file";
    QTest::newRow("beginning alike") << "usr/local/taloantivirus-notes";
}

void ShredderListTest::productFilesAreRefused()
{
    QFETCH(QString, name);
    QCOMPARE(refused(window_->file(name), "This file is not allow to shread !"), QString());
    QVERIFY(window_->rows().isEmpty());
}

void ShredderListTest::aFileIsAddedOnce()
{
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(window_->addNew("two"), QString());
    for (const char *name : {"/one", "/two"})
        QCOMPARE(refused(window_->folder() + name, "Files already added."), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "two Pending"}));
}

void ShredderListTest::letterCaseMakesAnotherFile()
{
    QCOMPARE(window_->addNew("one"), QString());
    QCOMPARE(window_->addNew("One"), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "One Pending"}));
}

void ShredderListTest::aShreddedFileStaysListed()
{
    QCOMPARE(window_->addNew("one"), QString());
    window_->table()->item(0, 1)->setText("Shredded");
    QCOMPARE(refused(window_->folder() + "/one", "Files already added."), QString());
}

void ShredderListTest::cancelAddsNothing()
{
    const QString path = window_->file("one");
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), path));
        QVERIFY(click(button(chooser, "CANCEL")));
    });
    QVERIFY(window_->press("ADD"));
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(window_->rows().isEmpty());
}

void ShredderListTest::removeNeedsARow()
{
    QCOMPARE(window_->addNew("one"), QString());
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(window_->press("REMOVE"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Select a file to remove", &window_->page),
             QString());
    QCOMPARE(window_->rows(), QStringList("one Pending"));
}

void ShredderListTest::removesTheRow()
{
    for (const char *name : {"one", "two", "three"})
        QCOMPARE(window_->addNew(name), QString());
    QVERIFY(window_->select(1));
    QVERIFY(window_->press("REMOVE"));
    QCOMPARE(window_->rows(), QStringList({"one Pending", "three Pending"}));
    QVERIFY(window_->isEnabled("SHRED"));
    QCOMPARE(window_->addNew("four"), QString());
    QCOMPARE(window_->rows(), QStringList({"one Pending", "three Pending", "four Pending"}));
    QVERIFY(QFile::exists(window_->folder() + "/two"));
}

void ShredderListTest::removingTheLastRowDisables()
{
    QCOMPARE(window_->addNew("one"), QString());
    QVERIFY(window_->select(0));
    QVERIFY(window_->press("REMOVE"));
    QVERIFY(window_->rows().isEmpty());
    QVERIFY(!window_->isEnabled("REMOVE"));
    QVERIFY(!window_->isEnabled("SHRED"));
    QCOMPARE(window_->addNew("two"), QString());
    QCOMPARE(window_->rows(), QStringList("two Pending"));
    QVERIFY(window_->isEnabled("REMOVE"));
    QVERIFY(window_->isEnabled("SHRED"));
}

QTEST_MAIN(ShredderListTest)
#include "shredder_list_test.moc"
