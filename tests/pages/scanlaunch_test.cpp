// Launching scans from the scan page. The engine's programs are stand-ins that write down how
// they were started.
#include "pages/scan.h"
#include "support/dialogs.h"
#include "support/programs.h"
#include "support/scriptedengine.h"
#include "support/soon.h"
#include "support/widgets.h"

#include <QApplication>
#include <QDialog>
#include <QFileSystemModel>
#include <QLayout>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>
#include <QtTest>

#include <memory>

using talo::test::button;
using talo::test::click;
using talo::test::Dialogs;
using talo::test::Launch;
using talo::test::ScriptedEngine;

namespace
{

constexpr int kAlreadyRunning = 0;
constexpr int kLimitReached = -2;

void pressCancel(QDialog *chooser)
{
    QVERIFY(click(button(chooser, "CANCEL")));
}

void pressOk(QDialog *chooser)
{
    QVERIFY(click(button(chooser, "OK")));
}

} // namespace

class ScanLaunchTest : public QObject
{
    Q_OBJECT

public:
    explicit ScanLaunchTest(talo::test::Programs &programs) : programs_(programs) {}

private slots:
    void initTestCase();
    void init();
    void startsPrograms_data();
    void startsPrograms();
    void refuses_data();
    void refuses();
    void chooserIsBuiltAsDesigned();
    void customScanTakesFolderOrFile_data();
    void customScanTakesFolderOrFile();
    void customScanNeedsPath();
    void severalCustomScansMayRun();
    void limitStopsCustomScan();
    void pathSurvivesCancel();
    void pathIsForgottenAfterUse_data();
    void pathIsForgottenAfterUse();
    void missingProgramIsNotReported();

private:
    QWidget *band() const { return page_->layout()->itemAt(5)->widget(); }
    bool clickSlide(int index) const;
    void choosePath(QDialog *chooser, const QString &path) const;
    void checkWarning(const Dialogs &dialogs, const QString &text) const;

    talo::test::Programs &programs_;
    QTemporaryDir folder_;
    QString file_;
    std::unique_ptr<Scan> page_;
};

void ScanLaunchTest::initTestCase()
{
    if (!programs_.obstacle().isEmpty()) {
        QSKIP(qPrintable(programs_.obstacle()));
    }
    file_ = folder_.filePath(QString::fromUtf8("prüfung.txt"));
    QFile file(file_);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(QDir::setCurrent(folder_.path()));
}

void ScanLaunchTest::init()
{
    ScriptedEngine::instance().reset();
    programs_.forgetLaunches();
    page_ = std::make_unique<Scan>(nullptr);
    page_->show();
}

bool ScanLaunchTest::clickSlide(int index) const
{
    auto *slides = page_->findChild<QStackedWidget *>();
    while (slides->currentIndex() != index) {
        click(page_->findChild<QToolButton *>("btnRightNav"));
    }
    return click(slides->currentWidget()->findChild<QToolButton *>());
}

void ScanLaunchTest::choosePath(QDialog *chooser, const QString &path) const
{
    QVERIFY(talo::test::clickPath(chooser->findChild<QTreeView *>(), path));
}

void ScanLaunchTest::checkWarning(const Dialogs &dialogs, const QString &text) const
{
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, text, page_.get()), QString());
}

void ScanLaunchTest::startsPrograms_data()
{
    QTest::addColumn<int>("slide"); // -1 for the band's button
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("full, slide") << 0 << ""
                                 << "FullScan" << QStringList{"/", "1"};
    QTest::newRow("quick, slide") << 1 << ""
                                  << "QuickScan" << QStringList{"/", "3"};
    QTest::newRow("quick, band") << -1 << "Quick Scan"
                                 << "QuickScan" << QStringList{"/", "3"};
    QTest::newRow("full, band") << -1 << "Full Scan"
                                << "FullScan" << QStringList{"/", "1"};
}

void ScanLaunchTest::startsPrograms()
{
    QFETCH(int, slide);
    QFETCH(QString, text);
    QFETCH(QString, program);
    if (slide < 0) {
        QVERIFY(click(page_->findChild<QToolButton *>("btnLeftNav"))); // shows both in the band
        QVERIFY(click(button(band(), text)));
    } else {
        QVERIFY(clickSlide(slide));
    }
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    const Launch launch = programs_.launches().first();
    QCOMPARE(launch.program, program);
    QTEST(launch.arguments, "arguments");
    QCOMPARE(launch.parent, QCoreApplication::applicationPid());
    const auto checks = ScriptedEngine::instance().calls("IsProcessRunning");
    QCOMPARE(checks.size(), size_t(1));
    QCOMPARE(checks[0].arguments, std::vector<std::string>{program.toStdString()});
}

void ScanLaunchTest::refuses_data()
{
    QTest::addColumn<int>("slide");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("full runs") << 0 << kAlreadyRunning << "Full Scan is already running.";
    QTest::newRow("quick runs") << 1 << kAlreadyRunning << "Quick Scan is already running.";
    QTest::newRow("full, limit") << 0 << kLimitReached
                                 << "Full Scan stopped, Maximum limit of scan launch is reached.";
    QTest::newRow("quick, limit") << 1 << kLimitReached
                                  << "Quick Scan stopped, Maximum limit of scan launch is reached.";
}

// A launch that went ahead would be seen before the one that follows it.
void ScanLaunchTest::refuses()
{
    QFETCH(int, slide);
    QFETCH(int, code);
    QFETCH(QString, text);
    ScriptedEngine::instance().answerOnce("IsProcessRunning", {code});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(clickSlide(slide));
    checkWarning(dialogs, text);
    QCOMPARE(page_->findChildren<QProcess *>().size(), 0);
    ScriptedEngine::instance().answerOnce("IsProcessRunning", {-1});
    QVERIFY(clickSlide(slide));
    QTRY_VERIFY_WITH_TIMEOUT(!programs_.launches().isEmpty(), kSoon);
    QTest::qWait(50);
    QCOMPARE(programs_.launches().size(), 1);
}

void ScanLaunchTest::chooserIsBuiltAsDesigned()
{
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *chooser) {
        QCOMPARE(chooser->parentWidget(), nullptr);
        QCOMPARE(chooser->windowTitle(), QString("Select folder for Custom Scan"));
        QCOMPARE(chooser->minimumSize(), QSize(500, 400));
        QCOMPARE(chooser->maximumSize(), QSize(500, 400));
        auto *tree = chooser->findChild<QTreeView *>();
        QCOMPARE(tree->minimumSize(), QSize(480, 330));
        QCOMPARE(tree->maximumSize(), QSize(480, 330));
        for (int column = 0; column < 4; ++column) {
            QCOMPARE(tree->isColumnHidden(column), column > 0);
        }
        auto *model = qobject_cast<QFileSystemModel *>(tree->model());
        QCOMPARE(model->rootPath(), QDir::currentPath());
        QCOMPARE(model->filter(), QDir::AllEntries | QDir::AllDirs | QDir::NoDotAndDotDot);
        QCOMPARE(talo::test::layoutOf(chooser),
                 QStringList({"widget QTreeView", "stretch",
                              "row [widget QToolButton, widget QToolButton]"}));
        for (auto *sized : chooser->findChildren<QToolButton *>()) {
            QCOMPARE(sized->minimumSize(), QSize(150, 30));
            QCOMPARE(sized->maximumSize(), QSize(150, 30));
        }
        QVERIFY(button(chooser, "CANCEL")->x() < button(chooser, "OK")->x());
        pressCancel(chooser);
        QVERIFY(!chooser->isVisible());
    });
    QVERIFY(clickSlide(2));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(ScriptedEngine::instance().calls("IsProcessRunning").size(), size_t(0));
}

void ScanLaunchTest::customScanTakesFolderOrFile_data()
{
    QTest::addColumn<bool>("file");
    QTest::newRow("folder") << false;
    QTest::newRow("file with an umlaut") << true;
}

void ScanLaunchTest::customScanTakesFolderOrFile()
{
    QFETCH(bool, file);
    const QString path = file ? file_ : folder_.path();
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *chooser) {
        choosePath(chooser, path);
        pressOk(chooser);
        QVERIFY(!chooser->isVisible());
    });
    QVERIFY(clickSlide(2));
    QCOMPARE(dialogs.fault(), QString());
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    QCOMPARE(programs_.launches().first().program, QString("CustomScan"));
    QCOMPARE(programs_.launches().first().arguments, QStringList({path, "2"}));
}

void ScanLaunchTest::customScanNeedsPath()
{
    Dialogs dialogs;
    dialogs.expectDialog(pressOk);
    dialogs.expectBox();
    QVERIFY(click(button(band(), "Custom Scan")));
    checkWarning(dialogs, "Kindly select path for custom scan.");
    QCOMPARE(ScriptedEngine::instance().calls("IsProcessRunning").size(), size_t(0));
    QCOMPARE(programs_.launches().size(), 0);
}

void ScanLaunchTest::severalCustomScansMayRun()
{
    ScriptedEngine::instance().answer("IsProcessRunning", {kAlreadyRunning});
    for (int count = 1; count <= 2; ++count) {
        Dialogs dialogs;
        dialogs.expectDialog([this](QDialog *chooser) {
            choosePath(chooser, folder_.path());
            pressOk(chooser);
        });
        QVERIFY(clickSlide(2));
        QCOMPARE(dialogs.fault(), QString());
        QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), count, kSoon);
    }
    const auto checks = ScriptedEngine::instance().calls("IsProcessRunning");
    QCOMPARE(checks[1].arguments, std::vector<std::string>{"CustomScan"});
}

void ScanLaunchTest::limitStopsCustomScan()
{
    ScriptedEngine::instance().answer("IsProcessRunning", {kLimitReached});
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *chooser) {
        choosePath(chooser, folder_.path());
        pressOk(chooser);
    });
    dialogs.expectBox();
    QVERIFY(clickSlide(2));
    checkWarning(dialogs, "Custom Scan stopped, Maximum limit of scan launch is reached.");
    QCOMPARE(programs_.launches().size(), 0);
}

void ScanLaunchTest::pathSurvivesCancel()
{
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *chooser) {
        choosePath(chooser, folder_.path());
        pressCancel(chooser);
    });
    QVERIFY(clickSlide(2));
    dialogs.expectDialog(pressOk);
    QVERIFY(clickSlide(2));
    QCOMPARE(dialogs.fault(), QString());
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    QCOMPARE(programs_.launches().first().arguments, QStringList({folder_.path(), "2"}));
}

void ScanLaunchTest::pathIsForgottenAfterUse_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("started") << 1;
    QTest::newRow("limit") << kLimitReached;
}

void ScanLaunchTest::pathIsForgottenAfterUse()
{
    QFETCH(int, code);
    ScriptedEngine::instance().answer("IsProcessRunning", {code});
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *chooser) {
        choosePath(chooser, folder_.path());
        pressOk(chooser);
    });
    if (code == kLimitReached) {
        dialogs.expectBox();
    }
    QVERIFY(clickSlide(2));
    dialogs.expectDialog(pressOk);
    dialogs.expectBox();
    QVERIFY(clickSlide(2));
    checkWarning(dialogs, "Kindly select path for custom scan.");
}

void ScanLaunchTest::missingProgramIsNotReported()
{
    const QString program = "/usr/local/taloantivirus/bin/QuickScan";
    QVERIFY(QFile::rename(program, program + ".away"));
    Dialogs dialogs;
    const bool clicked = clickSlide(1);
    QTest::qWait(50);
    QVERIFY(QFile::rename(program + ".away", program));
    QVERIFY(clicked);
    QCOMPARE(dialogs.fault(), QString());
}

int main(int argc, char *argv[])
{
    talo::test::Programs programs({"FullScan", "QuickScan", "CustomScan"});
    QApplication application(argc, argv);
    ScanLaunchTest test(programs);
    return QTest::qExec(&test, argc, argv);
}
#include "scanlaunch_test.moc"
