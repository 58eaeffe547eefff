// The dialog that adds an exclusion from scanning.
#include "pages/excludescan.h"
#include "pages/pagesupport.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QComboBox>
#include <QFileSystemModel>
#include <QLabel>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

#include <memory>

using namespace talo::test;

class ExcludeScanTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void isLaidOut();
    void typeDecidesWhatIsAsked();
    void blankExtensionIsRefused_data();
    void blankExtensionIsRefused();
    void extensionIsAddedAsTyped_data();
    void extensionIsAddedAsTyped();
    void malformedExtensionIsToldAndCloses();
    void otherRefusalsAreSilent();
    void locationNeedsAChoice();
    void chooserIsLaidOut();
    void chosenLocationIsAdded_data();
    void chosenLocationIsAdded();
    void longPathIsCut_data();
    void longPathIsCut();
    void markupInPathStaysText();
    void bothEntriesSurviveSwitching();
    void cancelAddsNothing();

private:
    QComboBox *type() const { return dialog_->findChild<QComboBox *>(); }
    QTextEdit *extension() const { return dialog_->findChild<QTextEdit *>(); }
    QLabel *path() const { return labels().at(2); }
    QLabel *field() const { return labels().at(1); }
    QList<QLabel *> labels() const;
    bool press(const char *text) const { return click(button(dialog_.get(), text)); }
    // Clicks `path` in the chooser and closes it by `button`.
    QString choose(const QString &path, const char *buttonText = "OK") const;

    std::unique_ptr<ExcludeScan> dialog_;
};

namespace
{

// A folder in `parent` whose whole path has `length` characters.
QString folderOfLength(const QTemporaryDir &parent, int length, QChar filler = 'x')
{
    const int missing = length - parent.path().size() - 1;
    const QString name(missing, filler);
    return missing > 0 && QDir(parent.path()).mkdir(name) ? parent.filePath(name) : QString();
}

} // namespace

void ExcludeScanTest::init()
{
    ScriptedEngine::instance().reset();
    dialog_ = std::make_unique<ExcludeScan>(nullptr);
    dialog_->show();
}

// The labels of the middle band: the type's caption, the field's caption and the path.
QList<QLabel *> ExcludeScanTest::labels() const
{
    QList<QLabel *> found =
        dialog_->findChild<QWidget *>("excludescanmiddle")->findChildren<QLabel *>();
    std::sort(found.begin(), found.end(),
              [](const QLabel *a, const QLabel *b) { return a->y() < b->y(); });
    return found;
}

QString ExcludeScanTest::choose(const QString &path, const char *buttonText) const
{
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), path));
        QVERIFY(click(button(chooser, buttonText)));
    });
    return press("BROWSE") ? dialogs.fault() : "no BROWSE";
}

void ExcludeScanTest::isLaidOut()
{
    QCOMPARE(slotsOf(ExcludeScan::staticMetaObject),
             QStringList({"btnOkExcludeScanClicked()", "btnBrowseExcludeScanPathClicked()",
                          "selectedItem(QModelIndex)", "cmbExlcudeTypeClicked()"}));
    QCOMPARE(signalsOf(ExcludeScan::staticMetaObject), QStringList());
    QCOMPARE(dialog_->objectName(), QString("excludescan"));
    QCOMPARE(dialog_->minimumSize(), QSize(400, 370));
    QCOMPARE(dialog_->maximumSize(), QSize(400, 370));
    QCOMPARE(layoutOf(dialog_.get()),
             QStringList({"widget excludescantop", "spacing 10", "widget excludescanmiddle"}));
    QVERIFY(isTight(dialog_.get()));

    auto *top = dialog_->findChild<QWidget *>("excludescantop");
    QCOMPARE(top->minimumSize(), QSize(400, 120));
    QCOMPARE(top->contentsMargins(), QMargins(20, 5, 0, 0));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget iconRptViewer", "spacing 10",
                                         "widget QLabel", "spacing 10"}));
    auto *caption = top->findChild<QToolButton *>();
    QCOMPARE(caption->text(), QString(" Exclude items from scanning"));
    QCOMPARE(caption->iconSize(), QSize(25, 25));
    QCOMPARE(caption->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(top->findChild<QLabel *>()->text(),
             QString("Excluding extension and locations can help\nspeedup system performance, but "
                     "may leave your\ncomputer less protected."));

    auto *middle = dialog_->findChild<QWidget *>("excludescanmiddle");
    QCOMPARE(middle->minimumSize(), QSize(400, 250));
    const QString entryRow =
        "row [spacing 20, widget QLabel, widget QTextEdit, widget QToolButton, spacing 20]";
    QCOMPARE(
        layoutOf(middle),
        QStringList({"spacing 10", "row [spacing 20, widget QLabel, widget QComboBox, spacing 20]",
                     "spacing 5", entryRow, "row [stretch, widget QLabel, stretch]",
                     "row [stretch, widget QToolButton, stretch, widget QToolButton, stretch]",
                     "spacing 10"}));
    QVERIFY(isTight(middle));
    QCOMPARE(labels().at(0)->text(), QString("Exclude Type"));
    QCOMPARE(path()->minimumSize(), QSize(350, 30));
    QCOMPARE(visibleTexts(middle), QStringList({"CANCEL", "OK"}));
    for (QWidget *sized :
         QList<QWidget *>{labels().at(0), field(), type(), extension(), button(middle, "BROWSE")}) {
        QCOMPARE(sized->minimumSize(), QSize(150, 30));
        QCOMPARE(sized->maximumSize(), QSize(150, 30));
        const bool label = qobject_cast<QLabel *>(sized);
        QCOMPARE(alignmentOf(sized), label ? Qt::AlignLeft : Qt::AlignRight);
    }
    QCOMPARE(type()->cursor().shape(), Qt::PointingHandCursor);
    for (const char *text : {"BROWSE", "CANCEL", "OK"}) {
        QCOMPARE(button(middle, text)->cursor().shape(), Qt::PointingHandCursor);
    }
}

void ExcludeScanTest::typeDecidesWhatIsAsked()
{
    QCOMPARE(type()->count(), 2);
    QCOMPARE(type()->itemText(0), QString("Extension"));
    QCOMPARE(type()->itemText(1), QString("Location"));
    QCOMPARE(type()->currentIndex(), 0);
    QCOMPARE(field()->text(), QString("Extension"));
    QVERIFY(extension()->isVisible());
    QVERIFY(!button(dialog_.get(), "BROWSE")->isVisible());
    QVERIFY(path()->text().isEmpty());

    type()->setCurrentIndex(1);
    QCOMPARE(field()->text(), QString("Select Path"));
    QVERIFY(!extension()->isVisible());
    QVERIFY(button(dialog_.get(), "BROWSE")->isVisible());

    type()->setCurrentIndex(0);
    QCOMPARE(field()->text(), QString("Extension"));
    QVERIFY(extension()->isVisible());
    QVERIFY(!button(dialog_.get(), "BROWSE")->isVisible());
}

void ExcludeScanTest::blankExtensionIsRefused_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("nothing") << "";
    QTest::newRow("blanks") << "   ";
    QTest::newRow("lines") << " \n\t";
}

void ExcludeScanTest::blankExtensionIsRefused()
{
    QFETCH(QString, typed);
    extension()->setPlainText(typed);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("OK"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Please enter extension", dialog_.get()),
             QString());
    QVERIFY(dialog_->isVisible());
    QCOMPARE(engineCalls(), QStringList());
}

void ExcludeScanTest::extensionIsAddedAsTyped_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("plain") << "iso";
    QTest::newRow("blanks are kept") << " iso ";
    QTest::newRow("beyond ASCII") << QString::fromUtf8("тест");
}

void ExcludeScanTest::extensionIsAddedAsTyped()
{
    QFETCH(QString, typed);
    extension()->setPlainText(typed);
    Dialogs dialogs;
    QVERIFY(press("OK"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList("libExcludeSetting::AddExcludeSettings " + typed + " 402"));
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(dialog_->result(), int(QDialog::Accepted));
}

void ExcludeScanTest::malformedExtensionIsToldAndCloses()
{
    ScriptedEngine::instance().answer("libExcludeSetting::AddExcludeSettings", {701});
    QTest::keyClicks(extension(), ".iso");
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("OK"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning,
                      "Please enter extension without [.] dot or space", dialog_.get()),
             QString());
    QCOMPARE(engineCalls(), QStringList("libExcludeSetting::AddExcludeSettings .iso 402"));
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(dialog_->result(), int(QDialog::Accepted));
}

void ExcludeScanTest::otherRefusalsAreSilent()
{
    ScriptedEngine::instance().answer("libExcludeSetting::AddExcludeSettings", {702});
    QTest::keyClicks(extension(), "iso");
    Dialogs dialogs;
    QVERIFY(press("OK"));
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(!dialog_->isVisible());
}

void ExcludeScanTest::locationNeedsAChoice()
{
    type()->setCurrentIndex(1);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("OK"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Select exclusion path.", dialog_.get()),
             QString());
    QVERIFY(dialog_->isVisible());
    QCOMPARE(engineCalls(), QStringList());
}

void ExcludeScanTest::chooserIsLaidOut()
{
    type()->setCurrentIndex(1);
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), QString("Select Exclusion Path"));
        QCOMPARE(chooser->parent(), nullptr);
        QCOMPARE(chooser->minimumSize(), QSize(500, 400));
        auto *tree = chooser->findChild<QTreeView *>();
        auto *model = qobject_cast<QFileSystemModel *>(tree->model());
        QCOMPARE(model->rootPath(), QDir::currentPath());
        QCOMPARE(model->filter(), QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot);
        QVERIFY(click(button(chooser, "CANCEL")));
    });
    QVERIFY(press("BROWSE"));
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(path()->text().isEmpty());
}

void ExcludeScanTest::chosenLocationIsAdded_data()
{
    QTest::addColumn<QString>("closedBy");
    QTest::newRow("OK") << "OK";
    QTest::newRow("CANCEL keeps the choice") << "CANCEL";
}

void ExcludeScanTest::chosenLocationIsAdded()
{
    QFETCH(QString, closedBy);
    QTemporaryDir folder;
    ScriptedEngine::instance().answer("libExcludeSetting::AddExcludeSettings", {701});
    type()->setCurrentIndex(1);
    QCOMPARE(choose(folder.path(), qPrintable(closedBy)), QString());
    QCOMPARE(path()->text(), folder.path());
    Dialogs dialogs;
    QVERIFY(press("OK"));
    QCOMPARE(dialogs.fault(), QString()); // a refused location is not told
    QCOMPARE(engineCalls(),
             QStringList("libExcludeSetting::AddExcludeSettings " + folder.path() + " 401"));
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(dialog_->result(), int(QDialog::Accepted));
}

void ExcludeScanTest::longPathIsCut_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QString>("filler");
    QTest::newRow("whole") << 40 << "x";
    QTest::newRow("cut") << 41 << "x";
    QTest::newRow("whole by characters") << 40 << QString::fromUtf8("ü");
    QTest::newRow("cut by bytes") << 41 << QString::fromUtf8("ü");
}

void ExcludeScanTest::longPathIsCut()
{
    QFETCH(int, length);
    QFETCH(QString, filler);
    QTemporaryDir folder("/tmp/t-XXXXXX");
    const QString chosen = folderOfLength(folder, length, filler[0]);
    QCOMPARE(chosen.size(), length);
    type()->setCurrentIndex(1);
    QCOMPARE(choose(chosen), QString());
    const QString shown =
        length > 40 ? QString::fromUtf8(chosen.toUtf8().left(37)) + "..." : chosen;
    QCOMPARE(path()->text(), shown);
    QVERIFY(press("OK"));
    QCOMPARE(engineCalls(),
             QStringList("libExcludeSetting::AddExcludeSettings " + chosen + " 401"));
}

void ExcludeScanTest::markupInPathStaysText()
{
    QCOMPARE(path()->textFormat(), Qt::PlainText);
}

void ExcludeScanTest::bothEntriesSurviveSwitching()
{
    QTemporaryDir folder;
    QTest::keyClicks(extension(), "iso");
    type()->setCurrentIndex(1);
    QCOMPARE(choose(folder.path()), QString());
    type()->setCurrentIndex(0);
    QCOMPARE(extension()->toPlainText(), QString("iso"));
    QCOMPARE(path()->text(), folder.path());
    type()->setCurrentIndex(1);
    QVERIFY(press("OK"));
    QCOMPARE(engineCalls(),
             QStringList("libExcludeSetting::AddExcludeSettings " + folder.path() + " 401"));
}

void ExcludeScanTest::cancelAddsNothing()
{
    QTest::keyClicks(extension(), "iso");
    QVERIFY(press("CANCEL"));
    QVERIFY(!dialog_->isVisible());
    QCOMPARE(dialog_->result(), int(QDialog::Rejected));
    QCOMPARE(engineCalls(), QStringList());
}

QTEST_MAIN(ExcludeScanTest)
#include "excludescan_test.moc"
