// The update page: what it shows, and the programs that its buttons start. The programs are
// stand-ins that write down how they were started.
#include "pages/signatureupdate.h"
#include "pages/update.h"
#include "support/dialogs.h"
#include "support/programs.h"
#include "support/scriptedengine.h"
#include "support/soon.h"
#include "support/widgets.h"

#include <QApplication>
#include <QLabel>
#include <QLayout>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <memory>
#include <unistd.h>

using talo::test::button;
using talo::test::buttons;
using talo::test::click;
using talo::test::Dialogs;
using talo::test::layoutOf;
using talo::test::ScriptedEngine;

namespace
{

const char kSignatures[] = "GetSigantureUpdateInfo";
const char kProduct[] = "GetProductUpdateInfo";
const char kRunning[] = "IsProductUpdateRunning";

QList<SignatureUpdate *> updateWindows()
{
    QList<SignatureUpdate *> found;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (auto *window = qobject_cast<SignatureUpdate *>(widget)) {
            found << window;
        }
    }
    return found;
}

} // namespace

class UpdatePageTest : public QObject
{
    Q_OBJECT

public:
    explicit UpdatePageTest(talo::test::Programs &programs) : programs_(programs) {}

private slots:
    void init();
    void cleanup();
    void declaresSignalsAndSlotsInOrder();
    void isLaidOutAsDesigned();
    void backEmitsTheWayHome();
    void buildsEveryWidget_data();
    void buildsEveryWidget();
    void columnsAreLaidOutAsDesigned();
    void showsVersions();
    void placeholdersNeverSurvive();
    void filledBuffersAreShownWhole();
    void reloadsOnBothWays();
    void startsProgram_data();
    void startsProgram();
    void refusesWhileOneRuns_data();
    void refusesWhileOneRuns();
    void twoClicksMakeTwoHiddenWindows();
    void secondClickIsRefusedOnceEngineKnows();
    void productClickMakesNoWindow();
    void windowRefreshesPage();
    void missingProgramIsNotReported();

private:
    QWidget *container() const { return page_->findChild<QWidget *>("updatecontainer"); }
    QAbstractButton *updateButton(bool product) const
    {
        return buttons(page_.get(), "UPDATE").value(product ? 1 : 0);
    }
    QStringList values() const;

    talo::test::Programs &programs_;
    std::unique_ptr<Update> page_;
};

void UpdatePageTest::init()
{
    ScriptedEngine::instance().reset();
    ScriptedEngine::instance().answer(kSignatures, {0, {"27500", "2026-11-21", "14:05"}});
    ScriptedEngine::instance().answer(kProduct, {0, {"0.1.0", "2026-11-20", "08:00"}});
    ScriptedEngine::instance().answer(kRunning, {1});
    programs_.forgetLaunches();
    page_ = std::make_unique<Update>(nullptr);
    page_->show();
}

void UpdatePageTest::cleanup()
{
    page_.reset();
    qDeleteAll(updateWindows());
}

// Signature date, signature version, product date, application version: in building order.
QStringList UpdatePageTest::values() const
{
    const QList<QLabel *> labels = container()->findChildren<QLabel *>("lblVirusSigWidget");
    QStringList texts;
    for (int index = 1; index < labels.size(); index += 2) {
        texts << labels[index]->text();
    }
    return texts;
}

void UpdatePageTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(talo::test::signalsOf(Update::staticMetaObject), QStringList{"ShowHomePage()"});
    QCOMPARE(talo::test::slotsOf(Update::staticMetaObject),
             QStringList({"btnUpdateVirusSigClicked()", "btnUpdateProdVerClicked()",
                          "updateStatusInfo()"}));
}

void UpdatePageTest::isLaidOutAsDesigned()
{
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(page_->contentsMargins(), QMargins());
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "widget QWidget", "stretch"}));
    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(top->size(), QSize(650, 50));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 170",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Update"));
    QWidget *middle = page_->layout()->itemAt(2)->widget();
    QCOMPARE(middle->size(), QSize(650, 400));
    QCOMPARE(layoutOf(middle), QStringList({"spacing 20", "widget iconUpdate", "spacing 10",
                                            "widget updatecontainer"}));
    QCOMPARE(container()->size(), QSize(650, 400));
}

void UpdatePageTest::backEmitsTheWayHome()
{
    QSignalSpy spy(page_.get(), SIGNAL(ShowHomePage()));
    QCOMPARE(button(page_.get(), " < BACK ")->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(click(button(page_.get(), " < BACK ")));
    QCOMPARE(spy.count(), 1);
}

void UpdatePageTest::buildsEveryWidget_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("index"); // among those of the same name
    QTest::addColumn<QString>("text");
    QTest::addColumn<QSize>("size"); // of the icon for a heading, else of the widget; null for any
    QTest::newRow("banner") << "iconUpdate" << 0
                            << "  Frequent updates helps your antivirus software to act "
                               "efficiently against\n  all kinds of threats."
                            << QSize(25, 25);
    QTest::newRow("signature heading")
        << "btnVirusSigIcon" << 0 << "\nVirus Signature" << QSize(35, 35);
    QTest::newRow("signature caption")
        << "lblVirusSigWidget" << 0 << "Last Update" << QSize(150, 30);
    QTest::newRow("signature date")
        << "lblVirusSigWidget" << 1 << "2026-11-21\n14:05" << QSize(75, 70);
    QTest::newRow("signature version caption")
        << "lblVirusSigWidget" << 2 << "Signature Version" << QSize(150, 30);
    QTest::newRow("signature version") << "lblVirusSigWidget" << 3 << "27500" << QSize(75, 30);
    QTest::newRow("separators") << "lblHSep" << 1 << "" << QSize();
    QTest::newRow("signature UPDATE") << "btnUpdateWidgets" << 0 << "UPDATE" << QSize();
    QTest::newRow("product heading")
        << "btnProductVerIcon" << 0 << "\nProduct Version" << QSize(35, 35);
    QTest::newRow("product caption") << "lblVirusSigWidget" << 4 << "Last Update" << QSize(150, 30);
    QTest::newRow("product date") << "lblVirusSigWidget" << 5 << "2026-11-20\n08:00"
                                  << QSize(80, 70);
    QTest::newRow("application version caption")
        << "lblVirusSigWidget" << 6 << "Application Version" << QSize(150, 30);
    QTest::newRow("application version") << "lblVirusSigWidget" << 7 << "0.1.0" << QSize(75, 30);
    QTest::newRow("product separators") << "lblHSep1" << 1 << "" << QSize();
    QTest::newRow("product UPDATE") << "btnUpdateWidgets" << 1 << "UPDATE" << QSize();
    QTest::newRow("vertical separator") << "lblVSepUpdate" << 0 << "" << QSize();
}

void UpdatePageTest::buildsEveryWidget()
{
    QFETCH(QString, name);
    QFETCH(int, index);
    QFETCH(QString, text);
    QFETCH(QSize, size);
    QWidget *widget = page_->findChildren<QWidget *>(name).value(index);
    QVERIFY(widget != nullptr);
    if (auto *tool = qobject_cast<QToolButton *>(widget)) {
        QCOMPARE(tool->text(), text);
        if (size.isValid()) {
            QCOMPARE(tool->iconSize(), size);
            QCOMPARE(tool->toolButtonStyle(), name == "iconUpdate" ? Qt::ToolButtonTextBesideIcon
                                                                   : Qt::ToolButtonTextUnderIcon);
        } else {
            QCOMPARE(tool->cursor().shape(), Qt::PointingHandCursor);
        }
        return;
    }
    auto *label = qobject_cast<QLabel *>(widget);
    QVERIFY(label != nullptr);
    QCOMPARE(label->text(), text);
    if (size.isValid()) {
        QCOMPARE(label->minimumSize(), size);
        QCOMPARE(label->maximumSize(), size);
    }
}

void UpdatePageTest::columnsAreLaidOutAsDesigned()
{
    const QString heading = "row [stretch, widget %1, stretch]";
    const QString left =
        "row [stretch, widget lblVirusSigWidget, stretch, widget lblVirusSigWidget, spacing 20]";
    const QString right =
        "row [spacing 20, widget lblVirusSigWidget, stretch, widget lblVirusSigWidget, stretch]";
    const QString column = "column [spacing 20, %1, spacing 10, %2, spacing 10, widget %3, %2, "
                           "widget %3, spacing 20, %4, stretch]";
    const QString update = heading.arg("btnUpdateWidgets");
    QCOMPARE(
        layoutOf(container()),
        QStringList({"stretch", column.arg(heading.arg("btnVirusSigIcon"), left, "lblHSep", update),
                     "column [widget lblVSepUpdate]",
                     column.arg(heading.arg("btnProductVerIcon"), right, "lblHSep1", update),
                     "stretch"}));
}

void UpdatePageTest::showsVersions()
{
    QCOMPARE(values(), QStringList({"2026-11-21\n14:05", "27500", "2026-11-20\n08:00", "0.1.0"}));
    const auto calls = ScriptedEngine::instance().calls();
    QCOMPARE(calls.size(), size_t(2));
    QCOMPARE(calls[0].function, std::string(kSignatures));
    QCOMPARE(calls[1].function, std::string(kProduct));
}

void UpdatePageTest::placeholdersNeverSurvive()
{
    ScriptedEngine::instance().reset();
    const Update page;
    for (const QLabel *label : page.findChildren<QLabel *>()) {
        QVERIFY2(!label->text().contains("2018"), qPrintable(label->text()));
        QVERIFY(label->text() != "119876" && label->text() != "1.0.0.0");
    }
    page_->setUpdateStatusInfo();
    QCOMPARE(values(), QStringList({"\n", "", "\n", ""}));
}

// As much as the engine may write, to the last byte.
void UpdatePageTest::filledBuffersAreShownWhole()
{
    const std::string signature(49, '7');
    const std::string product(19, '8');
    ScriptedEngine::instance().answer(kSignatures, {0, {signature, "2026-11-21 12345", "t"}});
    ScriptedEngine::instance().answer(kProduct,
                                      {0, {product, "123456789012345", "12:34:56 +0530"}});
    page_->setUpdateStatusInfo();
    QCOMPARE(values()[1], QString::fromStdString(signature));
    QCOMPARE(values()[3], QString::fromStdString(product));
    QCOMPARE(values()[2], QString("123456789012345\n12:34:56 +0530"));
    QVERIFY(values()[0].startsWith("2026-11-21 1234"));
}

void UpdatePageTest::reloadsOnBothWays()
{
    ScriptedEngine::instance().answer(kSignatures, {0, {"27501", "2026-11-22", "00:01"}});
    page_->setUpdateStatusInfo();
    QCOMPARE(values()[0], QString("2026-11-22\n00:01"));
    ScriptedEngine::instance().answer(kProduct, {0, {"0.2.0", "2026-11-23", "00:02"}});
    QVERIFY(QMetaObject::invokeMethod(page_.get(), "updateStatusInfo"));
    QCOMPARE(values(), QStringList({"2026-11-22\n00:01", "27501", "2026-11-23\n00:02", "0.2.0"}));
    // A text that the engine no longer knows does not stay from the time before.
    ScriptedEngine::instance().reset();
    page_->setUpdateStatusInfo();
    QCOMPARE(values(), QStringList({"\n", "", "\n", ""}));
}

void UpdatePageTest::startsProgram_data()
{
    QTest::addColumn<bool>("product");
    QTest::addColumn<int>("code");
    for (int code : {1, -1, 2}) {
        QTest::addRow("signatures, %d", code) << false << code;
        QTest::addRow("program, %d", code) << true << code;
    }
}

// Any answer but 0 means that none runs.
void UpdatePageTest::startsProgram()
{
    if (!programs_.obstacle().isEmpty()) {
        QSKIP(qPrintable(programs_.obstacle()));
    }
    QFETCH(bool, product);
    QFETCH(int, code);
    ScriptedEngine::instance().answer(kRunning, {code});
    const Dialogs dialogs;
    QVERIFY(click(updateButton(product)));
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    const talo::test::Launch launch = programs_.launches().first();
    QCOMPARE(launch.program,
             QString(product ? "TaloAntivirus_Product_Update" : "TaloAntivirus_Signature_Update"));
    QCOMPARE(launch.arguments, QStringList());
    QCOMPARE(launch.parent, qint64(getpid())); // not detached
    QCOMPARE(dialogs.fault(), QString());
    const auto calls = ScriptedEngine::instance().calls(kRunning);
    QCOMPARE(calls.size(), size_t(1));
    QCOMPARE(calls[0].arguments,
             std::vector<std::string>{product ? "TaloAntivirus_P" : "TaloAntivirus_S"});
}

void UpdatePageTest::refusesWhileOneRuns_data()
{
    QTest::addColumn<bool>("product");
    QTest::addColumn<QString>("text");
    QTest::newRow("signatures") << false << "Signature Update is already running.";
    QTest::newRow("program") << true << "Product Update is already running.";
}

void UpdatePageTest::refusesWhileOneRuns()
{
    QFETCH(bool, product);
    QFETCH(QString, text);
    ScriptedEngine::instance().answer(kRunning, {0});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(updateButton(product)));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, text, page_.get()), QString());
    QVERIFY(programs_.launches().isEmpty());
    QCOMPARE(updateWindows().size(), product ? 0 : 1); // the window is made whatever follows
}

void UpdatePageTest::twoClicksMakeTwoHiddenWindows()
{
    if (!programs_.obstacle().isEmpty()) {
        QSKIP(qPrintable(programs_.obstacle()));
    }
    QVERIFY(click(updateButton(false)));
    QVERIFY(click(updateButton(false)));
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 2, kSoon);
    QCOMPARE(updateWindows().size(), 2);
    for (const SignatureUpdate *window : updateWindows()) {
        QVERIFY(!window->isVisible());
        QVERIFY(window->parentWidget() == nullptr);
    }
    // None of them runs an update of its own.
    QVERIFY(ScriptedEngine::instance().calls("register_callback").empty());
    QVERIFY(ScriptedEngine::instance().calls("initiate_sig_update").empty());
}

void UpdatePageTest::secondClickIsRefusedOnceEngineKnows()
{
    if (!programs_.obstacle().isEmpty()) {
        QSKIP(qPrintable(programs_.obstacle()));
    }
    ScriptedEngine::instance().answerOnce(kRunning, {1});
    ScriptedEngine::instance().answer(kRunning, {0});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(updateButton(false)));
    QVERIFY(click(updateButton(false)));
    QCOMPARE(dialogs.fault(), QString());
    QTRY_COMPARE_WITH_TIMEOUT(programs_.launches().size(), 1, kSoon);
    QCOMPARE(updateWindows().size(), 2);
}

void UpdatePageTest::productClickMakesNoWindow()
{
    QVERIFY(click(updateButton(true)));
    QVERIFY(updateWindows().isEmpty());
}

void UpdatePageTest::windowRefreshesPage()
{
    ScriptedEngine::instance().answer(kRunning, {0});
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(click(updateButton(false)));
    ScriptedEngine::instance().answer(kSignatures, {0, {"27502", "2026-11-24", "09:09"}});
    emit updateWindows().first()->updateSigInfo();
    QCOMPARE(values()[1], QString("27502"));
}

void UpdatePageTest::missingProgramIsNotReported()
{
    if (!programs_.obstacle().isEmpty()) {
        QSKIP(qPrintable(programs_.obstacle()));
    }
    const QString program = "/usr/local/taloantivirus/bin/TaloAntivirus_Product_Update";
    QVERIFY(QFile::rename(program, program + ".away"));
    const Dialogs dialogs;
    const bool clicked = click(updateButton(true));
    QTest::qWait(50);
    QVERIFY(QFile::rename(program + ".away", program));
    QVERIFY(clicked);
    QCOMPARE(dialogs.fault(), QString());
}

int main(int argc, char *argv[])
{
    talo::test::Programs programs(
        {"TaloAntivirus_Signature_Update", "TaloAntivirus_Product_Update"});
    QApplication application(argc, argv);
    UpdatePageTest test(programs);
    return QTest::qExec(&test, argc, argv);
}
#include "update_page_test.moc"
