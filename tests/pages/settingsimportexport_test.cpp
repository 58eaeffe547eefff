// Saving the settings to a file and restoring them.
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QFileSystemModel>
#include <QLabel>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

struct Outcome {
    QString fault;
    QList<SeenBox> boxes;
};

void addWays()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("verb");
    QTest::newRow("EXPORT") << "libImportExportSetting::ExportSettings"
                            << "export";
    QTest::newRow("IMPORT") << "libImportExportSetting::ImportSettings"
                            << "import";
}

} // namespace

class SettingsImportExportTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dialogIsLaidOut();
    void chooserIsLaidOut_data();
    void chooserIsLaidOut();
    void nothingChosenIsRefused_data();
    void nothingChosenIsRefused();
    void successIsTold_data();
    void successIsTold();
    void secondTimeTakesTheLongerPath_data();
    void secondTimeTakesTheLongerPath();
    void failureKeepsThePath_data();
    void failureKeepsThePath();
    void cancelKeepsTheChoice_data();
    void cancelKeepsTheChoice();
    void pathsAreApart_data();
    void pathsAreApart();
    void fileMayBeChosen();

private:
    enum class Told { Nothing, Something };

    // Opens a chooser by the button `way`, clicks `path` in it unless empty, and closes it.
    Outcome choose(const QString &way, const QString &path, Told told,
                   const char *closedBy = "OK") const;

    std::unique_ptr<Settings> page_;
};

void SettingsImportExportTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
}

Outcome SettingsImportExportTest::choose(const QString &way, const QString &path, Told told,
                                         const char *closedBy) const
{
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        dialogs.expectDialog([&](QDialog *chooser) {
            QVERIFY(path.isEmpty() || clickPath(chooser->findChild<QTreeView *>(), path));
            if (told == Told::Something) {
                dialogs.expectBox();
            }
            QVERIFY(click(button(chooser, closedBy)));
            QVERIFY(!chooser->isVisible());
        });
        QVERIFY(click(button(dialog, way)));
        QVERIFY(!dialog->isVisible());
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
    });
    const bool opened = click(button(page_.get(), "Import/Export"));
    return {opened ? dialogs.fault() : "cannot be opened", dialogs.boxes()};
}

void SettingsImportExportTest::dialogIsLaidOut()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *dialog) {
        QCOMPARE(dialog->objectName(), QString("dlgImportExport"));
        QCOMPARE(dialog->parent(), nullptr);
        QCOMPARE(dialog->minimumSize(), QSize(350, 150));
        QCOMPARE(dialog->maximumSize(), QSize(350, 150));
        QVERIFY(hasFlags(dialog, Qt::WindowTitleHint | Qt::WindowCloseButtonHint));
        QCOMPARE(dialog->contentsMargins(), QMargins());
        const QString buttons =
            "row [stretch, widget QToolButton, stretch, widget QToolButton, stretch]";
        QCOMPARE(layoutOf(dialog),
                 QStringList({"spacing 10", "widget QLabel", "spacing 20", buttons, "spacing 20"}));
        QVERIFY(isTight(dialog));
        auto *label = dialog->findChild<QLabel *>();
        QCOMPARE(label->text(), QString("Current setttings of TALO Antivirus can be saved to\n"
                                        "file and restore at a later time when needed."));
        QCOMPARE(alignmentOf(label), Qt::AlignHCenter);
        QCOMPARE(visibleTexts(dialog), QStringList({"IMPORT", "EXPORT"}));
        QVERIFY(button(dialog, "IMPORT")->x() < button(dialog, "EXPORT")->x());
        for (auto *action : dialog->findChildren<QToolButton *>()) {
            QCOMPARE(action->cursor().shape(), Qt::PointingHandCursor);
        }
        dialog->close();
    });
    QVERIFY(click(button(page_.get(), "Import/Export")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsImportExportTest::chooserIsLaidOut_data()
{
    addWays();
}

void SettingsImportExportTest::chooserIsLaidOut()
{
    QFETCH(QString, verb);
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        dialogs.expectDialog([&](QDialog *chooser) {
            QCOMPARE(chooser->windowTitle(), QString("Select path to %1 settings").arg(verb));
            QCOMPARE(chooser->parent(), nullptr);
            QCOMPARE(chooser->minimumSize(), QSize(500, 400));
            QCOMPARE(chooser->maximumSize(), QSize(500, 400));
            QDialog reference;
            if (verb == "import") {
                reference.setWindowFlags(Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
            }
            QCOMPARE(chooser->windowFlags(), reference.windowFlags());
            auto *tree = chooser->findChild<QTreeView *>();
            QCOMPARE(tree->minimumSize(), QSize(480, 330));
            QCOMPARE(tree->rootIndex(), QModelIndex());
            for (int column : {1, 2, 3}) {
                QVERIFY(tree->isColumnHidden(column));
            }
            auto *model = qobject_cast<QFileSystemModel *>(tree->model());
            QCOMPARE(model->rootPath(), QDir::currentPath());
            QCOMPARE(model->filter(), QDir::AllDirs | QDir::Dirs | QDir::Files | QDir::Drives |
                                          QDir::NoDotAndDotDot);
            QCOMPARE(layoutOf(chooser),
                     QStringList({"widget QTreeView", "stretch",
                                  "row [widget QToolButton, widget QToolButton]"}));
            QVERIFY(button(chooser, "CANCEL")->x() < button(chooser, "OK")->x());
            for (const char *text : {"CANCEL", "OK"}) {
                QCOMPARE(button(chooser, text)->minimumSize(), QSize(150, 30));
                QCOMPARE(button(chooser, text)->maximumSize(), QSize(150, 30));
            }
            QVERIFY(click(button(chooser, "CANCEL")));
        });
        QVERIFY(click(button(dialog, QTest::currentDataTag())));
    });
    QVERIFY(click(button(page_.get(), "Import/Export")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsImportExportTest::nothingChosenIsRefused_data()
{
    addWays();
}

void SettingsImportExportTest::nothingChosenIsRefused()
{
    QFETCH(QString, verb);
    const Outcome outcome = choose(QTest::currentDataTag(), "", Told::Something);
    QCOMPARE(outcome.fault, QString());
    const SeenBox &box = outcome.boxes.first();
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, QString("Select path to %1 settings").arg(verb));
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, page_.get());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsImportExportTest::successIsTold_data()
{
    addWays();
}

void SettingsImportExportTest::successIsTold()
{
    QFETCH(QString, function);
    QFETCH(QString, verb);
    QTemporaryDir folder(QDir::tempPath() + QString::fromUtf8("/Müll-XXXXXX"));
    const Outcome outcome = choose(QTest::currentDataTag(), folder.path(), Told::Something);
    QCOMPARE(outcome.fault, QString());
    const SeenBox &box = outcome.boxes.first();
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, QString("Settings %1ed %2\n%3/Settings.ini")
                           .arg(verb, verb == "import" ? "from" : "to", folder.path()));
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, page_.get());
    QStringList calls = {function + ' ' + folder.path()};
    if (verb == "import") {
        calls << "NotifySettingChange"; // but no reload
    }
    QCOMPARE(engineCalls(), calls);
}

void SettingsImportExportTest::secondTimeTakesTheLongerPath_data()
{
    addWays();
}

void SettingsImportExportTest::secondTimeTakesTheLongerPath()
{
    QFETCH(QString, function);
    const QString way = QTest::currentDataTag();
    QCOMPARE(choose(way, "/tmp", Told::Something).fault, QString());
    ScriptedEngine::instance().clearCalls();
    const Outcome again = choose(way, "", Told::Something);
    QCOMPARE(again.fault, QString());
    QCOMPARE(engineCalls().first(), function + " /tmp/Settings.ini");
    QVERIFY(again.boxes.first().text.endsWith("\n/tmp/Settings.ini/Settings.ini"));
}

void SettingsImportExportTest::failureKeepsThePath_data()
{
    addWays();
}

void SettingsImportExportTest::failureKeepsThePath()
{
    QFETCH(QString, function);
    QFETCH(QString, verb);
    const QString way = QTest::currentDataTag();
    const Told told = verb == "import" ? Told::Something : Told::Nothing;
    for (const int result : {1, 2, -1}) {
        ScriptedEngine::instance().answer(function.toStdString(), {result});
        ScriptedEngine::instance().clearCalls();
        const Outcome outcome = choose(way, result == 1 ? "/tmp" : "", told);
        QCOMPARE(outcome.fault, QString());
        if (told == Told::Something) {
            QCOMPARE(outcome.boxes.first().icon, QMessageBox::Warning);
            QCOMPARE(outcome.boxes.first().text,
                     QString("Failed to import, invalid settings file found"));
        }
        QCOMPARE(engineCalls(), QStringList(function + " /tmp"));
    }
}

void SettingsImportExportTest::cancelKeepsTheChoice_data()
{
    addWays();
}

void SettingsImportExportTest::cancelKeepsTheChoice()
{
    QFETCH(QString, function);
    const QString way = QTest::currentDataTag();
    QCOMPARE(choose(way, "/tmp", Told::Nothing, "CANCEL").fault, QString());
    QCOMPARE(engineCalls(), QStringList());
    QCOMPARE(choose(way, "", Told::Something).fault, QString());
    QCOMPARE(engineCalls().first(), function + " /tmp");
}

void SettingsImportExportTest::pathsAreApart_data()
{
    addWays();
}

void SettingsImportExportTest::pathsAreApart()
{
    QFETCH(QString, verb);
    const QString way = QTest::currentDataTag();
    QCOMPARE(choose(way == "IMPORT" ? "EXPORT" : "IMPORT", "/tmp", Told::Something).fault,
             QString());
    const Outcome outcome = choose(way, "", Told::Something);
    QCOMPARE(outcome.fault, QString());
    QCOMPARE(outcome.boxes.first().text, QString("Select path to %1 settings").arg(verb));
}

void SettingsImportExportTest::fileMayBeChosen()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    QCOMPARE(choose("IMPORT", file.fileName(), Told::Something).fault, QString());
    QCOMPARE(engineCalls().first(), "libImportExportSetting::ImportSettings " + file.fileName());
}

QTEST_MAIN(SettingsImportExportTest)
#include "settingsimportexport_test.moc"
