// The page of the protection against copying to USB storage.
#include "pages/datatheft.h"
#include "pages/pagesupport.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class DatatheftTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void isLaidOut();
    void choosesNothingBeforeItIsLoaded();
    void showsTheStoredSetting_data();
    void showsTheStoredSetting();
    void saysWhetherThereIsAPassword_data();
    void saysWhetherThereIsAPassword();
    void choiceWithoutApplyChangesNothing();
    void applyNeedsAStoredPassword();
    void promptIsLaidOut();
    void rightPasswordAppliesTheChoice_data();
    void rightPasswordAppliesTheChoice();
    void rightPasswordWithoutAChoiceAppliesNothing();
    void wrongPasswordKeepsThePrompt();
    void cancelledPromptChangesNothing();
    void closedPromptChangesNothing();
    void backLeadsToTheTools();

private:
    // What the engine answers from now on.
    void script(int passwordMissing, int control);
    QRadioButton *choice(const char *text) const;
    QString textOf(const char *name) const { return page_->findChild<QLabel *>(name)->text(); }
    bool press(const char *text) const { return click(button(page_.get(), text)); }
    // Presses APPLY and gives the password in the prompt by a button of it.
    QString answerPrompt(const QString &password, const char *buttonText) const;

    std::unique_ptr<Datatheft> page_;
};

namespace
{

QStringList applied()
{
    QStringList found;
    for (const QString &call : engineCalls())
        if (call.startsWith("libSettings::Apply"))
            found.append(call);
    return found;
}

} // namespace

void DatatheftTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Datatheft>();
    page_->show();
}

void DatatheftTest::script(int passwordMissing, int control)
{
    auto &engine = ScriptedEngine::instance();
    engine.answer("libPassword::IsPasswordExists", {passwordMissing});
    engine.answer("libSettings::GetDeviceControlSetting", {0, {}, {control}});
    engine.answer("libPassword::ValidatePassword", {0});
}

QRadioButton *DatatheftTest::choice(const char *text) const
{
    return qobject_cast<QRadioButton *>(button(page_.get(), text));
}

QString DatatheftTest::answerPrompt(const QString &password, const char *buttonText) const
{
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        dialog->findChild<QLineEdit *>()->setText(password);
        QVERIFY(click(button(dialog, buttonText)));
    });
    return press("APPLY") ? dialogs.fault() : "no APPLY";
}

void DatatheftTest::isLaidOut()
{
    QCOMPARE(slotsOf(Datatheft::staticMetaObject),
             QStringList({"btnApplyClicked()", "btnApplyPwdClikced()", "btnCancelPwdClicked()"}));
    QCOMPARE(page_->objectName(), QString("mobileapp"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "stretch", "widget datatheftmiddle",
                          "widget datatheftbottom"}));
    QVERIFY(isTight(page_.get()));

    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 150",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Data Theft"));

    auto *middle = page_->findChild<QWidget *>("datatheftmiddle");
    QCOMPARE(middle->minimumSize(), QSize(650, 300));
    QCOMPARE(layoutOf(middle),
             QStringList({"spacing 15", "row [stretch, widget iconDataTheft, stretch]",
                          "spacing 32", "widget updatecontainer"}));
    auto *icon = middle->findChild<QToolButton *>("iconDataTheft");
    QCOMPARE(icon->toolButtonStyle(), Qt::ToolButtonIconOnly);
    QCOMPARE(icon->iconSize(), QSize(50, 50));
    QCOMPARE(icon->text(),
             QString("  Data theft protection block unathorized copying of data from\n  your "
                     "computer to unauthorized USB drives."));

    auto *options = middle->findChild<QWidget *>("updatecontainer");
    QCOMPARE(options->minimumSize(), QSize(650, 200));
    const QString left = "column [spacing 20, widget lblLInfo, stretch, widget QRadioButton, "
                         "spacing 5, widget QRadioButton, stretch]";
    const QString right = "column [spacing 20, row [widget lblRLInfo, spacing 2, widget "
                          "lblRRInfo, stretch], stretch, widget lblRSubInfo, stretch]";
    QCOMPARE(layoutOf(options), QStringList({"stretch", left, "stretch", right, "stretch"}));
    QVERIFY(isTight(options));
    QCOMPARE(textOf("lblLInfo"), QString("USB storage device access"));
    QCOMPARE(textOf("lblRLInfo"), QString("Data theft protection is turned"));
    QCOMPARE(textOf("lblRRInfo"), QString("ON"));
    QCOMPARE(textOf("lblRSubInfo"),
             QString("Currently you have not set password for Data theft\nprotection. Create it "
                     "from settings->Manage password."));

    auto *bottom = page_->findChild<QWidget *>("datatheftbottom");
    QCOMPARE(bottom->minimumSize(), QSize(650, 50));
    QCOMPARE(layoutOf(bottom), QStringList({"stretch", "widget QToolButton", "spacing 20"}));
    QCOMPARE(button(page_.get(), "APPLY")->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(button(page_.get(), " < BACK ")->cursor().shape(), Qt::PointingHandCursor);
}

void DatatheftTest::choosesNothingBeforeItIsLoaded()
{
    QVERIFY(!choice("Full Access")->isChecked());
    QVERIFY(!choice("Disable USB")->isChecked());
    QCOMPARE(engineCalls(), QStringList());
}

void DatatheftTest::showsTheStoredSetting_data()
{
    QTest::addColumn<int>("control");
    QTest::addColumn<QString>("checked");
    QTest::addColumn<QString>("state");
    QTest::newRow("full access") << 0 << "Full Access"
                                 << "OFF";
    QTest::newRow("disabled") << 1 << "Disable USB"
                              << "ON";
    QTest::newRow("anything else") << 2 << ""
                                   << "ON";
}

void DatatheftTest::showsTheStoredSetting()
{
    QFETCH(int, control);
    QFETCH(QString, checked);
    script(0, control);
    page_->UpdateDeviceConfig();
    for (const char *text : {"Full Access", "Disable USB"})
        QCOMPARE(choice(text)->isChecked(), checked == text);
    QTEST(textOf("lblRRInfo"), "state");
}

void DatatheftTest::saysWhetherThereIsAPassword_data()
{
    QTest::addColumn<int>("missing");
    QTest::addColumn<QString>("hint");
    QTest::newRow("none") << 1
                          << "Currently you have not set password for\nData theft protection. "
                             "Create it from settings.";
    QTest::newRow("one") << 0
                         << "You have configured password for Data Theft\nprotection. You can "
                            "change or reset it from settings.";
}

void DatatheftTest::saysWhetherThereIsAPassword()
{
    QFETCH(int, missing);
    script(missing, 0);
    page_->UpdateDeviceConfig();
    QTEST(textOf("lblRSubInfo"), "hint");
}

void DatatheftTest::choiceWithoutApplyChangesNothing()
{
    script(0, 0);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice("Disable USB")));
    QCOMPARE(textOf("lblRRInfo"), QString("OFF"));
    QVERIFY(press(" < BACK "));
    QCOMPARE(applied(), QStringList());

    page_->UpdateDeviceConfig();
    QVERIFY(choice("Full Access")->isChecked());
    QVERIFY(!choice("Disable USB")->isChecked());
}

void DatatheftTest::applyNeedsAStoredPassword()
{
    script(1, 0);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice("Disable USB")));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(press("APPLY"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning,
                      "To use this feature, Please create password first from "
                      "settings.\n\nGo to settings -> Manage password",
                      page_.get()),
             QString());
    QCOMPARE(applied(), QStringList());
    QCOMPARE(textOf("lblRRInfo"), QString("OFF"));
}

void DatatheftTest::promptIsLaidOut()
{
    script(0, 0);
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *dialog) {
        QCOMPARE(dialog->objectName(), QString("dlgManagePwd"));
        QCOMPARE(dialog->minimumSize(), QSize(350, 150));
        QCOMPARE(dialog->parent(), nullptr);
        QVERIFY(dialog->isModal());
        const QString row =
            "row [stretch, widget dlgManagePwdBtns, stretch, widget dlgManagePwdBtns, stretch]";
        QCOMPARE(layoutOf(dialog),
                 QStringList({"spacing 5", "widget lblValidatePwd", "spacing 5", "widget QLineEdit",
                              "spacing 10", row, "spacing 10"}));
        QCOMPARE(dialog->findChild<QLabel *>()->text(),
                 QString("Please enter the password to\napply the changes"));
        QCOMPARE(dialog->findChild<QLineEdit *>()->echoMode(), QLineEdit::Password);
        QCOMPARE(visibleTexts(dialog), QStringList({"APPLY", "CANCEL"}));
        dialog->close();
    });
    QVERIFY(press("APPLY"));
    QCOMPARE(dialogs.fault(), QString());
}

void DatatheftTest::rightPasswordAppliesTheChoice_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("before");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("state");
    QTest::newRow("disable") << "Disable USB" << 0 << "libSettings::ApplyDeviceControlSetting 1"
                             << "ON";
    QTest::newRow("allow") << "Full Access" << 1 << "libSettings::ApplyDeviceControlSetting 0"
                           << "OFF";
}

void DatatheftTest::rightPasswordAppliesTheChoice()
{
    QFETCH(QString, text);
    QFETCH(int, before);
    QFETCH(QString, call);
    script(0, before);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice(text.toUtf8().constData())));
    ScriptedEngine::instance().clearCalls();
    QCOMPARE(answerPrompt("pässword", "APPLY"), QString());
    QCOMPARE(engineCalls(), QStringList({"libPassword::IsPasswordExists",
                                         "libPassword::ValidatePassword pässword", call}));
    QTEST(textOf("lblRRInfo"), "state");
}

void DatatheftTest::rightPasswordWithoutAChoiceAppliesNothing()
{
    script(0, 7);
    page_->UpdateDeviceConfig();
    QCOMPARE(answerPrompt("password", "APPLY"), QString());
    QCOMPARE(applied(), QStringList());
    QCOMPARE(textOf("lblRRInfo"), QString("ON"));
}

void DatatheftTest::wrongPasswordKeepsThePrompt()
{
    script(0, 0);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice("Disable USB")));
    ScriptedEngine::instance().answer("libPassword::ValidatePassword", {1});
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        dialogs.expectBox();
        QVERIFY(click(button(dialog, "APPLY")));
        QVERIFY(dialog->isVisible());
        dialog->close();
    });
    QVERIFY(press("APPLY"));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Password does not match.", page_.get()),
             QString());
    QCOMPARE(applied(), QStringList());
    QCOMPARE(textOf("lblRRInfo"), QString("OFF"));
}

void DatatheftTest::cancelledPromptChangesNothing()
{
    script(0, 0);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice("Disable USB")));
    const QString hint = textOf("lblRSubInfo");
    const QSignalSpy refreshed(page_.get(), SIGNAL(RefreshDashboard()));
    QCOMPARE(answerPrompt("password", "CANCEL"), QString());
    QCOMPARE(refreshed.count(), 1);
    QCOMPARE(applied(), QStringList());
    QCOMPARE(textOf("lblRRInfo"), QString("OFF"));
    QCOMPARE(textOf("lblRSubInfo"), hint);
}

void DatatheftTest::closedPromptChangesNothing()
{
    script(0, 1);
    page_->UpdateDeviceConfig();
    QVERIFY(click(choice("Full Access")));
    const QSignalSpy refreshed(page_.get(), SIGNAL(RefreshDashboard()));
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *dialog) { dialog->close(); });
    QVERIFY(press("APPLY"));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(refreshed.count(), 0);
    QCOMPARE(applied(), QStringList());
    QCOMPARE(textOf("lblRRInfo"), QString("ON"));
}

void DatatheftTest::backLeadsToTheTools()
{
    const QSignalSpy left(page_.get(), SIGNAL(ShowAdvacnedToolsPage()));
    QVERIFY(press(" < BACK "));
    QCOMPARE(left.count(), 1);
}

QTEST_MAIN(DatatheftTest)
#include "datatheft_test.moc"
