// The page of the search for files with equal content.
#include "pages/duplicatefinder.h"
#include "pages/duplicatefinderthread.h"
#include "pages/pagesupport.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QFileSystemModel>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>
#include <QtTest>

#include <future>
#include <memory>

using namespace talo::test;

namespace
{

using Groups = std::map<std::string, std::list<std::string>>;

const char kStart[] = "Select the directory to find duplicate files";
const std::string kSearch = "libDuplicateFinder::DuplicateFinder";
const std::string kDelete = "libDuplicateFinder::DeleteDuplicateFiles";

const Groups kFound{{"0001  photo.jpg  3 copies of 4.2 MB", {"/a/photo.jpg", "/b/photo.jpg", "/c"}},
                    {"0002  schön, \"b\".txt  2 copies of 1 KB", {"/d/schön, \"b\".txt", "/e"}}};

QStringList rows(const QTreeWidget *tree)
{
    QStringList texts;
    for (int at = 0; at < tree->topLevelItemCount(); ++at) {
        const QTreeWidgetItem *group = tree->topLevelItem(at);
        texts << group->text(0);
        for (int copy = 0; copy < group->childCount(); ++copy)
            texts << (group->child(copy)->checkState(0) == Qt::Checked ? "[x] " : "[ ] ") +
                         group->child(copy)->text(0);
    }
    return texts;
}

const QStringList kRows{"0001  photo.jpg  3 copies of 4.2 MB",
                        "[x] /a/photo.jpg",
                        "[x] /b/photo.jpg",
                        "[x] /c",
                        "0002  schön, \"b\".txt  2 copies of 1 KB",
                        "[x] /d/schön, \"b\".txt",
                        "[x] /e"};

} // namespace

class DuplicateFinderTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void isLaidOut();
    void chooserIsLaidOut();
    void cancelledChoiceStartsNothing();
    void choiceReadiesTheSearch();
    void searchRunsOffTheWindow();
    void progressIsCopied();
    void progressAfterThePageIsDropped();
    void secondSearchHearsEachPathOnce();
    void nothingFoundIsTold_data();
    void nothingFoundIsTold();
    void resultsAreListed();
    void sizesAreRounded_data();
    void sizesAreRounded();
    void groupsCannotBeTicked();
    void choiceResetsDelete();
    void deletesWhatIsTicked();
    void deletionIsTold_data();
    void deletionIsTold();
    void nothingTickedLeavesTheTree();
    void manyRowsAreListed();

private:
    QToolButton *tool(const char *text) const
    {
        return qobject_cast<QToolButton *>(button(page_.get(), text));
    }
    QString status() const { return bottom()->findChild<QLabel *>()->text(); }
    QWidget *bottom() const { return tool("DELETE")->parentWidget(); }
    QTreeWidget *tree() const { return page_->findChild<QTreeWidget *>(); }
    QTextEdit *path() const { return page_->findChild<QTextEdit *>(); }
    QString choose(const char *buttonText = "OK");
    // Chooses a folder, searches it, and closes the box that tells the result.
    SeenBox search(const Answer &answer);

    QTemporaryDir folder_;
    std::unique_ptr<DuplicateFinder> page_;
};

void DuplicateFinderTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<DuplicateFinder>();
    page_->show();
}

QString DuplicateFinderTest::choose(const char *buttonText)
{
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), folder_.path()));
        QVERIFY(click(button(chooser, buttonText)));
    });
    return click(tool("BROWSE")) ? dialogs.fault() : "no BROWSE";
}

SeenBox DuplicateFinderTest::search(const Answer &answer)
{
    const QString fault = choose();
    if (!fault.isEmpty())
        return {QMessageBox::NoIcon, {}, fault, {}, nullptr};
    ScriptedEngine::instance().answerOnce(kSearch, answer);
    Dialogs dialogs;
    dialogs.expectBox();
    click(tool("START"));
    const bool told = QTest::qWaitFor(
        [&] { return !dialogs.boxes().isEmpty() && tool("BROWSE")->isEnabled(); }, 20000);
    return told ? dialogs.boxes().first() : SeenBox{};
}

void DuplicateFinderTest::isLaidOut()
{
    QCOMPARE(slotsOf(DuplicateFinder::staticMetaObject),
             QStringList({"browseDuplicateFinderPath()", "selectedItem(QModelIndex)",
                          "setFilePath()", "btnStartClicked()", "UpdateDupCurFilePath(char*)",
                          "SetDuplicateFinderData(qlonglong,qlonglong)",
                          "HandleDuplicateFinderNoDataFound()",
                          "HandleDuplicateFinderDataFound(std::map<string,list<string> >)",
                          "btnDeleteClicked()"}));
    QCOMPARE(
        signalsOf(DuplicateFinderThread::staticMetaObject),
        QStringList({"SendDuplicateFinderData(qlonglong,qlonglong)", "DuplicateFinderNoDataFound()",
                     "DuplicateFinderDataFound(std::map<string,list<string> >)"}));
    QCOMPARE(page_->objectName(), QString("mobileapp"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "widget DuplicateFinderbottom",
                          "widget DuplicateFinderbottom", "stretch"}));

    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 150",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Duplicate Finder"));

    auto *middle = page_->findChild<QWidget *>("DuplicateFinderbottom");
    QCOMPARE(middle->minimumSize(), QSize(650, 300));
    QCOMPARE(layoutOf(middle),
             QStringList({"row [spacing 5, widget iconDuplicateFinder, spacing 5]",
                          "row [spacing 25, widget QTextEdit, stretch, widget QToolButton, "
                          "spacing 10, widget QToolButton]",
                          "row [stretch, widget updatecontainer, stretch]"}));
    auto *description = middle->findChild<QToolButton *>("iconDuplicateFinder");
    QCOMPARE(description->iconSize(), QSize(50, 50));
    QCOMPARE(description->text(),
             QString("  Duplicate file finder searches your system for copies of files and deletes "
                     "them\n  with your approval. This helps to increase the space on your hard "
                     "drive"));
    QCOMPARE(path()->minimumSize(), QSize(400, 30));
    QVERIFY(!path()->isEnabled());
    QCOMPARE(tree()->minimumSize(), QSize(650, 150));
    QCOMPARE(tree()->columnCount(), 1);
    QCOMPARE(tree()->parentWidget()->minimumSize(), QSize(650, 150));
    QVERIFY(tool("BROWSE")->isEnabled());
    QVERIFY(!tool("START")->isEnabled());
    QVERIFY(!tool("DELETE")->isEnabled());
    for (const char *text : {"BROWSE", "START"})
        QCOMPARE(tool(text)->cursor().shape(), Qt::PointingHandCursor);

    QCOMPARE(bottom()->objectName(), QString("DuplicateFinderbottom"));
    QCOMPARE(bottom()->minimumSize(), QSize(650, 50));
    QCOMPARE(status(), QString(kStart));

    const QSignalSpy left(page_.get(), SIGNAL(ShowAdvacnedToolsPage()));
    QVERIFY(click(tool(" < BACK ")));
    QCOMPARE(left.count(), 1);
}

void DuplicateFinderTest::chooserIsLaidOut()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), QString("Select folder to find duplicate files"));
        QCOMPARE(chooser->minimumSize(), QSize(500, 400));
        auto *view = chooser->findChild<QTreeView *>();
        QCOMPARE(view->minimumSize(), QSize(480, 330));
        const auto *model = qobject_cast<QFileSystemModel *>(view->model());
        QCOMPARE(model->rootPath(), QDir::currentPath());
        QCOMPARE(model->filter(), QDir::Dirs | QDir::AllDirs | QDir::Drives | QDir::NoDotAndDotDot);
        for (int column = 1; column <= 3; ++column)
            QVERIFY(view->isColumnHidden(column));
        QCOMPARE(visibleTexts(chooser), QStringList({"OK", "CANCEL"}));
        QVERIFY(button(chooser, "CANCEL")->x() < button(chooser, "OK")->x());
        chooser->close();
    });
    QVERIFY(click(tool("BROWSE")));
    QCOMPARE(dialogs.fault(), QString());
}

void DuplicateFinderTest::cancelledChoiceStartsNothing()
{
    QCOMPARE(choose("CANCEL"), QString());
    QCOMPARE(path()->toPlainText(), QString());
    QVERIFY(!tool("START")->isEnabled());
}

void DuplicateFinderTest::choiceReadiesTheSearch()
{
    QCOMPARE(choose(), QString());
    QCOMPARE(path()->toPlainText(), folder_.path());
    QVERIFY(tool("START")->isEnabled());
    QVERIFY(!tool("DELETE")->isEnabled());
    QCOMPARE(status(), QString(kStart));
    QCOMPARE(engineCalls(), QStringList());
}

void DuplicateFinderTest::searchRunsOffTheWindow()
{
    QCOMPARE(choose(), QString());
    auto &engine = ScriptedEngine::instance();
    std::promise<void> goOn;
    QThread *searching = nullptr;
    Answer answer{801};
    answer.during = [&] {
        searching = QThread::currentThread();
        goOn.get_future().wait();
    };
    engine.answerOnce(kSearch, answer);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("START")));
    QVERIFY(QTest::qWaitFor([&] { return !engine.calls(kSearch).empty(); }));
    QCOMPARE(status(), QString("Searching duplicate files..."));
    QVERIFY(!tool("BROWSE")->isEnabled());
    QVERIFY(!tool("START")->isEnabled());
    QVERIFY(!tool("DELETE")->isEnabled());
    QCOMPARE(engineCalls(),
             QStringList({"libDuplicateFinder::register_callback function",
                          "libDuplicateFinder::DuplicateFinder " + folder_.path() + " 1"}));
    goOn.set_value();
    QVERIFY(QTest::qWaitFor([&] { return tool("BROWSE")->isEnabled(); }));
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(searching != QThread::currentThread());
}

void DuplicateFinderTest::progressIsCopied()
{
    QCOMPARE(choose(), QString());
    auto &engine = ScriptedEngine::instance();
    Answer answer{801};
    QStringList shown;
    std::promise<void> goOn;
    answer.during = [&] {
        engine.reportDuplicateSearch("/home/me/<b>schön</b>.txt");
        engine.reportDuplicateSearch("/home/me/last");
        goOn.get_future().wait();
    };
    engine.answerOnce(kSearch, answer);
    const QSignalSpy told(page_.get(), SIGNAL(SendDupCurFilePath(char *)));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("START")));
    QVERIFY(QTest::qWaitFor([&] {
        if (shown.isEmpty() || shown.last() != status())
            shown << status();
        return status() == "/home/me/last";
    }));
    QCOMPARE(bottom()->findChild<QLabel *>()->textFormat(), Qt::PlainText);
    QCOMPARE(told.count(), 2);
    goOn.set_value();
    QVERIFY(QTest::qWaitFor([&] { return tool("BROWSE")->isEnabled(); }));
    QCOMPARE(dialogs.fault(), QString());
}

// The window may close while a search still runs.
void DuplicateFinderTest::progressAfterThePageIsDropped()
{
    QCOMPARE(choose(), QString());
    auto &engine = ScriptedEngine::instance();
    std::promise<void> goOn;
    std::promise<void> over;
    Answer answer{810, {}, {3, 1}, kFound};
    answer.during = [&] {
        goOn.get_future().wait();
        engine.reportDuplicateSearch("/home/me/late");
        over.set_value();
    };
    engine.answerOnce(kSearch, answer);
    QVERIFY(click(tool("START")));
    page_.reset();
    goOn.set_value();
    over.get_future().wait();
    QCoreApplication::processEvents();
}

void DuplicateFinderTest::secondSearchHearsEachPathOnce()
{
    search({801});
    QCOMPARE(choose(), QString());
    auto &engine = ScriptedEngine::instance();
    Answer answer{801};
    answer.during = [&] {
        for (int path = 0; path < 50; ++path)
            engine.reportDuplicateSearch("/home/me/" + std::to_string(path));
    };
    engine.answerOnce(kSearch, answer);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("START")));
    QVERIFY(QTest::qWaitFor([&] { return tool("BROWSE")->isEnabled(); }));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(status(), QString(kStart) + ".");
}

void DuplicateFinderTest::nothingFoundIsTold_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("none") << 801;
    QTest::newRow("unreadable") << 804;
    QTest::newRow("success of others") << 0;
}

void DuplicateFinderTest::nothingFoundIsTold()
{
    QFETCH(int, code);
    const SeenBox box = search({code, {}, {5, 5}, kFound});
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, QString("No duplicate files found"));
    QCOMPARE(box.parent, page_.get());
    QCOMPARE(rows(tree()), QStringList());
    QCOMPARE(status(), QString(kStart) + ".");
    QCOMPARE(path()->toPlainText(), QString());
    QVERIFY(tool("BROWSE")->isEnabled());
    QVERIFY(!tool("START")->isEnabled());
    QVERIFY(!tool("DELETE")->isEnabled());
}

void DuplicateFinderTest::resultsAreListed()
{
    const SeenBox box = search({810, {}, {3, 8809000}, kFound});
    const QString text = "Total duplicate files found: 3\nTotal disk space to be freed: 8 MB";
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, text);
    QCOMPARE(status(), text);
    QCOMPARE(rows(tree()), kRows);
    QVERIFY(tool("BROWSE")->isEnabled());
    QVERIFY(!tool("START")->isEnabled());
    QVERIFY(tool("DELETE")->isEnabled());
}

void DuplicateFinderTest::sizesAreRounded_data()
{
    QTest::addColumn<qlonglong>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qlonglong{0} << "0 Bytes";
    QTest::newRow("negative") << qlonglong{-5000} << "-5000 Bytes";
    QTest::newRow("below a kibibyte") << qlonglong{1023} << "1023 Bytes";
    QTest::newRow("a kibibyte") << qlonglong{1024} << "1 KB";
    QTest::newRow("below a mebibyte") << qlonglong{(1 << 20) - 1} << "1023 KB";
    QTest::newRow("a mebibyte") << qlonglong{1 << 20} << "1 MB";
    QTest::newRow("a gibibyte") << qlonglong{1 << 30} << "1 GB";
    QTest::newRow("below a tebibyte") << (qlonglong{1} << 40) - 1 << "1023 GB";
    QTest::newRow("a tebibyte") << (qlonglong{1} << 40) << "";
    QTest::newRow("more") << (qlonglong{1} << 52) << "";
}

void DuplicateFinderTest::sizesAreRounded()
{
    QFETCH(qlonglong, bytes);
    QFETCH(QString, text);
    QCOMPARE(search({810, {}, {1, bytes}, kFound}).text,
             "Total duplicate files found: 1\nTotal disk space to be freed: " + text);
}

void DuplicateFinderTest::groupsCannotBeTicked()
{
    search({810, {}, {3, 1}, kFound});
    const QTreeWidgetItem *group = tree()->topLevelItem(0);
    QVERIFY(!group->data(0, Qt::CheckStateRole).isValid());
    QVERIFY(group->child(0)->flags().testFlag(Qt::ItemIsUserCheckable));
    QVERIFY(group->child(0)->flags().testFlag(Qt::ItemIsSelectable));
}

void DuplicateFinderTest::choiceResetsDelete()
{
    search({810, {}, {3, 1}, kFound});
    QVERIFY(tool("DELETE")->isEnabled());
    QCOMPARE(choose(), QString());
    QVERIFY(!tool("DELETE")->isEnabled());
    QVERIFY(tool("START")->isEnabled());
    QCOMPARE(rows(tree()), QStringList());
    QCOMPARE(status(), QString(kStart));
}

void DuplicateFinderTest::deletesWhatIsTicked()
{
    search({810, {}, {3, 1}, kFound});
    tree()->expandAll();
    // A click on the box of the first copy takes its tick away.
    const QRect row = tree()->visualItemRect(tree()->topLevelItem(0)->child(0));
    QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, row.topLeft() + QPoint(8, 8));
    QCOMPARE(tree()->topLevelItem(0)->child(0)->checkState(0), Qt::Unchecked);

    auto &engine = ScriptedEngine::instance();
    engine.answerOnce(kDelete, {811, {}, {4}, Groups{}});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("DELETE")));
    QCOMPARE(dialogs.fault(), QString());
    const std::vector<std::string> expected{"/b/photo.jpg", "/c", "/d/schön, \"b\".txt", "/e"};
    QCOMPARE(engine.calls(kDelete).front().arguments, expected);
    QCOMPARE(rows(tree()), QStringList());
}

void DuplicateFinderTest::deletionIsTold_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("all") << 811 << "2 duplicate files are deleted successfully.";
    QTest::newRow("some") << 802 << "Permission denied for deletion for some files.";
    QTest::newRow("another code") << 5 << "Permission denied for deletion for some files.";
}

void DuplicateFinderTest::deletionIsTold()
{
    QFETCH(int, code);
    QFETCH(QString, text);
    search({810, {}, {3, 1}, kFound});
    tree()->topLevelItem(1)->child(0)->setCheckState(0, Qt::Unchecked);
    const Groups left{{"0002  schön, \"b\".txt  2 copies of 1 KB", {"/d/schön, \"b\".txt", "/e"}}};
    ScriptedEngine::instance().answerOnce(kDelete, {code, {}, {2}, left});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("DELETE")));
    QCOMPARE(boxFault(dialogs, QMessageBox::Information, text, page_.get()), QString());
    // What is left is ticked again.
    QCOMPARE(rows(tree()), kRows.mid(4));
    QVERIFY(tool("DELETE")->isEnabled());
}

void DuplicateFinderTest::nothingTickedLeavesTheTree()
{
    search({810, {}, {3, 1}, kFound});
    for (int group = 0; group < tree()->topLevelItemCount(); ++group)
        for (int copy = 0; copy < tree()->topLevelItem(group)->childCount(); ++copy)
            tree()->topLevelItem(group)->child(copy)->setCheckState(0, Qt::Unchecked);
    const QStringList before = rows(tree());
    auto &engine = ScriptedEngine::instance();
    engine.answerOnce(kDelete, {803});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(tool("DELETE")));
    QCOMPARE(
        boxFault(dialogs, QMessageBox::Information, "No file selected for delete.", page_.get()),
        QString());
    QCOMPARE(engine.calls(kDelete).size(), std::size_t{1});
    QVERIFY(engine.calls(kDelete).front().arguments.empty());
    QCOMPARE(rows(tree()), before);
}

void DuplicateFinderTest::manyRowsAreListed()
{
    Groups many;
    for (int group = 0; group < 50000; ++group) {
        const std::string name = std::to_string(100000 + group);
        many[name] = {"/one/" + name, "/two/" + name};
    }
    search({810, {}, {50000, 1}, many});
    QCOMPARE(tree()->topLevelItemCount(), 50000);
    QCOMPARE(tree()->topLevelItem(49999)->child(1)->text(0), QString("/two/149999"));
    QVERIFY(tree()->uniformRowHeights());
}

QTEST_MAIN(DuplicateFinderTest)
#include "duplicatefinder_test.moc"
