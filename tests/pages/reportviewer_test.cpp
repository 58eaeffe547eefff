// The dialog that shows one report and saves it.
#include "pages/viewreport.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QFileSystemModel>
#include <QGuiApplication>
#include <QLabel>
#include <QLayout>
#include <QScreen>
#include <QStyle>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

const char kSave[] = "libReports::SaveReport";

void pressOk(QDialog *chooser)
{
    QVERIFY(click(button(chooser, "OK")));
}

} // namespace

class ReportViewerTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void declaresSlotsInOrder();
    void isLaidOutAsDesigned();
    void middleIsLaidOutAsDesigned();
    void showsFields_data();
    void showsFields();
    void closeClosesDialog();
    void chooserIsBuiltAsDesigned();
    void savesIntoFolder_data();
    void savesIntoFolder();
    void savesPlainText();
    void saveNeedsFolder();
    void cancelClosesOnlyChooser();
    void folderIsRemembered();

private:
    void open(const QString &text, const QString &date, const QString &time);
    bool clickSave() const { return click(button(viewer_.get(), "SAVE")); }

    QTemporaryDir folder_;
    std::unique_ptr<ViewReport> viewer_;
};

void ReportViewerTest::initTestCase()
{
    QVERIFY(QDir(folder_.path()).mkdir("saved"));
    QFile file(folder_.filePath("saved.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(QDir::setCurrent(folder_.path()));
}

void ReportViewerTest::init()
{
    ScriptedEngine::instance().reset();
    open("Scanned: 12\nInfected: 0", "2026-11-21", "14:05:09");
}

void ReportViewerTest::open(const QString &text, const QString &date, const QString &time)
{
    viewer_ = std::make_unique<ViewReport>(text, date, time, "Full Scan", nullptr);
    viewer_->show();
}

void ReportViewerTest::declaresSlotsInOrder()
{
    QCOMPARE(signalsOf(ViewReport::staticMetaObject), QStringList());
    QCOMPARE(slotsOf(ViewReport::staticMetaObject),
             QStringList({"btnSaveRptClicked()", "btnCloseRptClicked()", "saveRpt()",
                          "selectedItem(QModelIndex)"}));
}

void ReportViewerTest::isLaidOutAsDesigned()
{
    QCOMPARE(viewer_->objectName(), QString("viewreport"));
    QCOMPARE(viewer_->minimumSize(), QSize(400, 400));
    QCOMPARE(viewer_->maximumSize(), QSize(400, 400));
    QVERIFY(hasFlags(viewer_.get(), Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint |
                                        Qt::WindowCloseButtonHint));
    QCOMPARE(viewer_->geometry(),
             QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, QSize(400, 400),
                                 QGuiApplication::primaryScreen()->availableGeometry()));
    QCOMPARE(viewer_->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(viewer_.get()),
             QStringList({"widget viewreporttop", "widget viewreportmiddle"}));
    auto *top = viewer_->findChild<QWidget *>("viewreporttop");
    QCOMPARE(top->geometry(), QRect(0, 0, 400, 50));
    QCOMPARE(top->contentsMargins(), QMargins(20, 5, 0, 0));
    auto *caption = top->findChild<QToolButton *>("iconRptViewer");
    QCOMPARE(caption->text(), QString(" Report viewer"));
    QCOMPARE(caption->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(caption->iconSize(), QSize(25, 25));
}

void ReportViewerTest::middleIsLaidOutAsDesigned()
{
    auto *middle = viewer_->findChild<QWidget *>("viewreportmiddle");
    QCOMPARE(middle->geometry(), QRect(0, 50, 400, 350));
    QCOMPARE(layoutOf(middle),
             QStringList({"widget dateTime", "widget rptDetails", "spacing 5",
                          "row [stretch, widget QToolButton, stretch, widget QToolButton, stretch]",
                          "spacing 5"}));
    auto *dateTime = viewer_->findChild<QWidget *>("dateTime");
    QCOMPARE(dateTime->size(), QSize(400, 80));
    const QString row = "row [spacing 20, widget QLabel, widget QLabel, spacing 20]";
    QCOMPARE(layoutOf(dateTime), QStringList({row, row}));
    for (int i : {0, 1}) {
        const QLayout *captioned = dateTime->layout()->itemAt(i)->layout();
        QCOMPARE(captioned->itemAt(1)->alignment(), Qt::AlignLeft);
        QCOMPARE(captioned->itemAt(2)->alignment(), Qt::AlignRight);
    }
    auto *details = viewer_->findChild<QTextEdit *>("rptDetails");
    QVERIFY(details->isReadOnly());
    QCOMPARE(details->minimumSize(), QSize(400, 220));
    QCOMPARE(details->maximumSize(), QSize(400, 220));
    QCOMPARE(button(middle, "SAVE")->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(button(middle, "SAVE")->x() < button(middle, "CLOSE")->x());
}

void ReportViewerTest::showsFields_data()
{
    QTest::addColumn<QString>("date");
    QTest::addColumn<QString>("time");
    QTest::newRow("both") << "2026-11-21"
                          << "14:05:09";
    QTest::newRow("no date") << ""
                             << "14:05:09";
    QTest::newRow("neither") << ""
                             << "";
}

void ReportViewerTest::showsFields()
{
    QFETCH(QString, date);
    QFETCH(QString, time);
    open("Infected: 0", date, time);
    QStringList texts;
    for (const QLabel *label : viewer_->findChildren<QLabel *>()) {
        texts << label->text();
    }
    QCOMPARE(texts, QStringList({"Date:", date, "Time:", time}));
    QCOMPARE(viewer_->findChild<QTextEdit *>("rptDetails")->toPlainText(), QString("Infected: 0"));
}

void ReportViewerTest::closeClosesDialog()
{
    QVERIFY(click(button(viewer_.get(), "CLOSE")));
    QVERIFY(!viewer_->isVisible());
    QCOMPARE(ScriptedEngine::instance().calls().size(), size_t(0));
}

void ReportViewerTest::chooserIsBuiltAsDesigned()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        QCOMPARE(chooser->parentWidget(), nullptr);
        QCOMPARE(chooser->windowTitle(), QString("Select path to save report"));
        QCOMPARE(chooser->minimumSize(), QSize(500, 400));
        QCOMPARE(chooser->maximumSize(), QSize(500, 400));
        QVERIFY(hasFlags(chooser, Qt::WindowTitleHint | Qt::WindowCloseButtonHint));
        auto *tree = chooser->findChild<QTreeView *>();
        QCOMPARE(tree->minimumSize(), QSize(480, 330));
        QCOMPARE(tree->maximumSize(), QSize(480, 330));
        QCOMPARE(tree->rootIndex(), QModelIndex());
        for (int column = 0; column < 4; ++column) {
            QCOMPARE(tree->isColumnHidden(column), column > 0);
        }
        auto *model = qobject_cast<QFileSystemModel *>(tree->model());
        QCOMPARE(model->rootPath(), QDir::currentPath());
        QCOMPARE(model->filter(), QDir::Filters(QDir::AllDirs));
        QCOMPARE(layoutOf(chooser), QStringList({"widget QTreeView", "stretch",
                                                 "row [widget QToolButton, widget QToolButton]"}));
        QVERIFY(button(chooser, "CANCEL")->x() < button(chooser, "OK")->x());
        for (const char *text : {"CANCEL", "OK"}) {
            QCOMPARE(button(chooser, text)->minimumSize(), QSize(150, 30));
            QCOMPARE(button(chooser, text)->maximumSize(), QSize(150, 30));
        }
        chooser->close();
    });
    QVERIFY(clickSave());
    QCOMPARE(dialogs.fault(), QString());
}

void ReportViewerTest::savesIntoFolder_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("saved") << 0;
    QTest::newRow("failed, which is not detected") << 207;
}

void ReportViewerTest::savesIntoFolder()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kSave, {code});
    const QString folder = folder_.filePath("saved");
    Dialogs dialogs;
    dialogs.expectDialog([folder](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), folder));
        pressOk(chooser);
        QVERIFY(!chooser->isVisible());
    });
    dialogs.expectBox();
    QVERIFY(clickSave());
    QCOMPARE(
        boxFault(dialogs, QMessageBox::Information, "Report saved successfully.", viewer_.get()),
        QString());
    QVERIFY(!viewer_->isVisible());
    const auto calls = ScriptedEngine::instance().calls(kSave);
    QCOMPARE(calls.size(), size_t(1));
    QCOMPARE(calls[0].arguments,
             std::vector<std::string>({folder.toStdString(), "Scanned: 12\nInfected: 0"}));
}

void ReportViewerTest::savesPlainText()
{
    open("<p>Infected: <b>1</b></p>", "", "");
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), folder_.filePath("saved")));
        pressOk(chooser);
    });
    dialogs.expectBox();
    QVERIFY(clickSave());
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(ScriptedEngine::instance().calls(kSave)[0].arguments[1], std::string("Infected: 1"));
}

void ReportViewerTest::saveNeedsFolder()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        pressOk(chooser);
        QVERIFY(chooser->isVisible());
        chooser->close();
    });
    dialogs.expectBox();
    QVERIFY(clickSave());
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Kindly select path to save reports.",
                      viewer_.get()),
             QString());
    QVERIFY(viewer_->isVisible());
    QCOMPARE(ScriptedEngine::instance().calls(kSave).size(), size_t(0));
}

void ReportViewerTest::cancelClosesOnlyChooser()
{
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *chooser) {
        QVERIFY(clickPath(chooser->findChild<QTreeView *>(), folder_.filePath("saved")));
        QVERIFY(click(button(chooser, "CANCEL")));
        QVERIFY(!chooser->isVisible());
    });
    QVERIFY(clickSave());
    QCOMPARE(dialogs.fault(), QString());
    QVERIFY(viewer_->isVisible());
    QCOMPARE(ScriptedEngine::instance().calls(kSave).size(), size_t(0));
}

void ReportViewerTest::folderIsRemembered()
{
    cancelClosesOnlyChooser();
    Dialogs dialogs;
    dialogs.expectDialog(pressOk);
    dialogs.expectBox();
    QVERIFY(clickSave());
    QCOMPARE(
        boxFault(dialogs, QMessageBox::Information, "Report saved successfully.", viewer_.get()),
        QString());
    QCOMPARE(ScriptedEngine::instance().calls(kSave)[0].arguments[0],
             folder_.filePath("saved").toStdString());
}

QTEST_MAIN(ReportViewerTest)
#include "reportviewer_test.moc"
