// Managing the settings password: what is offered, and the switch of its protection.
#include "pages/pagesupport.h"
#include "pages/settings.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class SettingsPasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void manageDialogIsLaidOut();
    void offersWhatCanBeDone_data();
    void offersWhatCanBeDone();
    void dialogIsBuiltAfreshEachTime();
    void switchingOnNeedsAPassword();
    void switchingOffAsksForNothing();
    void promptIsLaidOut();
    void rightPasswordFlipsTheFlag_data();
    void rightPasswordFlipsTheFlag();
    void wrongPasswordKeepsPrompt();
    void cancelledPromptStoresNothing_data();
    void cancelledPromptStoresNothing();
    void promptRunsWithoutManageDialog();

private:
    static void script(int exists, int protection);
    // Opens the manage dialog; `act` uses it, and it is closed afterwards.
    bool manage(Dialogs &dialogs, std::function<void(QDialog *)> act) const;
    bool openManage() const { return click(button(page_.get(), "Manage Password")); }

    std::unique_ptr<Settings> page_;
};

namespace
{

const QString kExists = "libPassword::IsPasswordExists";
const QString kStatus = "libPassword::getPwdProtectionStaus";

QToolButton *protection(const QDialog *dialog)
{
    return dialog->findChild<QToolButton *>("btnPwdConfig");
}

void checkFrame(QDialog *dialog)
{
    QCOMPARE(dialog->objectName(), QString("dlgManagePwd"));
    QCOMPARE(dialog->parent(), nullptr);
    QCOMPARE(dialog->minimumSize(), QSize(350, 150));
    QCOMPARE(dialog->maximumSize(), QSize(350, 150));
    QVERIFY(hasFlags(dialog, Qt::WindowTitleHint | Qt::WindowCloseButtonHint));
    QCOMPARE(dialog->contentsMargins(), QMargins());
    QVERIFY(isTight(dialog));
}

} // namespace

void SettingsPasswordTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
}

void SettingsPasswordTest::script(int exists, int protection)
{
    auto &engine = ScriptedEngine::instance();
    engine.answer(kExists.toStdString(), {exists});
    engine.answer(kStatus.toStdString(), {protection});
}

bool SettingsPasswordTest::manage(Dialogs &dialogs, std::function<void(QDialog *)> act) const
{
    dialogs.expectDialog([act = std::move(act)](QDialog *dialog) {
        act(dialog);
        dialog->close();
    });
    return openManage();
}

void SettingsPasswordTest::manageDialogIsLaidOut()
{
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [](QDialog *dialog) {
        checkFrame(dialog);
        const QString switchRow =
            "row [stretch, widget lblPwdProtection, stretch, widget btnPwdConfig, stretch]";
        const QString buttonRow = "row [spacing 20, widget dlgManagePwdBtns, stretch, "
                                  "widget dlgManagePwdBtns, stretch, widget dlgManagePwdBtns, "
                                  "stretch]";
        QCOMPARE(layoutOf(dialog),
                 QStringList({"spacing 10", switchRow, "spacing 20", buttonRow, "spacing 20"}));
        auto *label = dialog->findChild<QLabel *>();
        QCOMPARE(label->text(), QString("Password protection"));
        QCOMPARE(alignmentOf(label), Qt::AlignLeft);
        QVERIFY(protection(dialog)->isCheckable());
        QCOMPARE(protection(dialog)->accessibleName(), QString("Password protection"));
        QCOMPARE(protection(dialog)->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(alignmentOf(button(dialog, "CREATE")), Qt::AlignLeft);
        QCOMPARE(alignmentOf(button(dialog, "RESET")), Qt::AlignHCenter);
        QCOMPARE(alignmentOf(button(dialog, "CHANGE")), Qt::AlignHCenter);
        for (const char *text : {"CREATE", "RESET", "CHANGE"}) {
            QCOMPARE(button(dialog, text)->cursor().shape(), Qt::PointingHandCursor);
        }
    }));
    QCOMPARE(dialogs.fault(), QString());
}

void SettingsPasswordTest::offersWhatCanBeDone_data()
{
    QTest::addColumn<int>("exists");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("offered");
    QTest::addColumn<bool>("on");
    const QStringList none = {"CREATE"};
    const QStringList one = {"RESET", "CHANGE"};
    QTest::newRow("no password") << 1 << 0 << none << false;
    QTest::newRow("no password but a flag") << 1 << 1 << none << false;
    QTest::newRow("service not reached") << -1 << 1 << none << false;
    QTest::newRow("protection off") << 0 << 0 << one << false;
    QTest::newRow("protection on") << 0 << 1 << one << true;
    QTest::newRow("odd flag") << 0 << 2 << one << false;
}

void SettingsPasswordTest::offersWhatCanBeDone()
{
    QFETCH(int, exists);
    QFETCH(int, status);
    QFETCH(QStringList, offered);
    QFETCH(bool, on);
    script(exists, status);
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        QCOMPARE(visibleTexts(dialog), offered);
        QCOMPARE(protection(dialog)->isChecked(), on);
    }));
    QCOMPARE(dialogs.fault(), QString());
}

void SettingsPasswordTest::dialogIsBuiltAfreshEachTime()
{
    Dialogs dialogs;
    QVERIFY(manage(dialogs,
                   [](QDialog *dialog) { QCOMPARE(visibleTexts(dialog), QStringList("CREATE")); }));
    script(0, 1);
    QVERIFY(manage(dialogs, [](QDialog *dialog) {
        QCOMPARE(visibleTexts(dialog), QStringList({"RESET", "CHANGE"}));
        QVERIFY(protection(dialog)->isChecked());
    }));
    QCOMPARE(dialogs.fault(), QString());
}

void SettingsPasswordTest::switchingOnNeedsAPassword()
{
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        dialogs.expectBox();
        QVERIFY(click(protection(dialog)));
        QVERIFY(!protection(dialog)->isChecked());
        QVERIFY(dialog->isVisible());
        QCOMPARE(visibleTexts(dialog), QStringList("CREATE"));
    }));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Please create password first.", page_.get()),
             QString());
    QCOMPARE(engineCalls(), QStringList({kExists, kExists}));
}

void SettingsPasswordTest::switchingOffAsksForNothing()
{
    script(0, 1);
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [](QDialog *dialog) {
        ScriptedEngine::instance().clearCalls();
        QVERIFY(click(protection(dialog)));
        QVERIFY(!protection(dialog)->isChecked());
        QVERIFY(dialog->isVisible());
    }));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList("libPassword::modifyPwdProtectionStatus 0"));
}

void SettingsPasswordTest::promptIsLaidOut()
{
    script(0, 0);
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        dialogs.expectDialog([dialog](QDialog *prompt) {
            QVERIFY(!dialog->isVisible());
            checkFrame(prompt);
            QCOMPARE(prompt->findChild<QLabel *>("lblValidatePwd")->text(),
                     QString("Please enter the password to\napply the changes"));
            const QString buttonRow = "row [stretch, widget dlgManagePwdBtns, stretch, "
                                      "widget dlgManagePwdBtns, stretch]";
            QCOMPARE(layoutOf(prompt),
                     QStringList({"spacing 5", "widget lblValidatePwd", "spacing 5",
                                  "widget QLineEdit", "spacing 10", buttonRow, "spacing 10"}));
            auto *field = prompt->findChild<QLineEdit *>();
            QCOMPARE(field->minimumSize(), QSize(200, 30));
            QCOMPARE(field->maximumSize(), QSize(200, 30));
            QCOMPARE(field->echoMode(), QLineEdit::Password);
            QVERIFY(button(prompt, "CANCEL")->x() < button(prompt, "APPLY")->x());
            QCOMPARE(prompt->findChildren<QToolButton *>().size(), 2);
            for (auto *centred :
                 prompt->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
                QCOMPARE(alignmentOf(centred), Qt::AlignHCenter);
            }
            prompt->close();
        });
        QVERIFY(click(protection(dialog)));
    }));
    QCOMPARE(dialogs.fault(), QString());
}

void SettingsPasswordTest::rightPasswordFlipsTheFlag_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QList<bool>>("shown"); // by the switch, from the click on
    QTest::newRow("off to on") << 0 << QStringList{"libPassword::modifyPwdProtectionStatus 1"}
                               << QList<bool>{true, false, true};
    QTest::newRow("on to off") << 1 << QStringList{"libPassword::modifyPwdProtectionStatus 0"}
                               << QList<bool>{true};
    QTest::newRow("odd flag") << 7 << QStringList{} << QList<bool>{true};
}

void SettingsPasswordTest::rightPasswordFlipsTheFlag()
{
    QFETCH(int, status);
    QFETCH(QStringList, stored);
    QFETCH(QList<bool>, shown);
    script(0, 0);
    ScriptedEngine::instance().answer("libPassword::ValidatePassword", {0});
    QList<bool> seen;
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        script(0, status);
        connect(protection(dialog), &QToolButton::toggled, dialog, [&](bool on) { seen << on; });
        dialogs.expectDialog([](QDialog *prompt) {
            QTest::keyClicks(prompt->findChild<QLineEdit *>(), "secret1");
            ScriptedEngine::instance().clearCalls();
            QVERIFY(click(button(prompt, "APPLY")));
            QVERIFY(!prompt->isVisible());
            QCOMPARE(prompt->result(), int(QDialog::Accepted));
        });
        QVERIFY(click(protection(dialog)));
    }));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(),
             QStringList({"libPassword::ValidatePassword secret1", kStatus}) + stored);
    QCOMPARE(seen, shown);
}

void SettingsPasswordTest::wrongPasswordKeepsPrompt()
{
    script(0, 0);
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        dialogs.expectDialog([&](QDialog *prompt) {
            auto *field = prompt->findChild<QLineEdit *>();
            field->setText(QString::fromUtf8("пароль"));
            ScriptedEngine::instance().clearCalls();
            dialogs.expectBox();
            QVERIFY(click(button(prompt, "APPLY")));
            QVERIFY(prompt->isVisible());
            QCOMPARE(field->text(), QString::fromUtf8("пароль"));
            prompt->close();
        });
        QVERIFY(click(protection(dialog)));
    }));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Password does not match.", page_.get()),
             QString());
    QCOMPARE(engineCalls(), QStringList(QString::fromUtf8("libPassword::ValidatePassword пароль")));
}

void SettingsPasswordTest::cancelledPromptStoresNothing_data()
{
    QTest::addColumn<bool>("byButton");
    QTest::newRow("CANCEL") << true;
    QTest::newRow("closed") << false;
}

void SettingsPasswordTest::cancelledPromptStoresNothing()
{
    QFETCH(bool, byButton);
    script(0, 0);
    Dialogs dialogs;
    QVERIFY(manage(dialogs, [&](QDialog *dialog) {
        ScriptedEngine::instance().clearCalls();
        dialogs.expectDialog([&](QDialog *prompt) {
            if (!byButton) {
                prompt->close();
                return;
            }
            QVERIFY(click(button(prompt, "CANCEL")));
            QCOMPARE(prompt->result(), int(QDialog::Accepted));
        });
        QVERIFY(click(protection(dialog)));
        QVERIFY(protection(dialog)->isChecked());
        QVERIFY(!dialog->isVisible());
        QVERIFY(button(dialog, "CREATE")->isHidden());
        QVERIFY(!button(dialog, "RESET")->isHidden());
        QVERIFY(!button(dialog, "CHANGE")->isHidden());
    }));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList(kExists));
}

void SettingsPasswordTest::promptRunsWithoutManageDialog()
{
    script(0, 0);
    ScriptedEngine::instance().answer("libPassword::ValidatePassword", {0});
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) { QVERIFY(click(button(prompt, "APPLY"))); });
    page_->validatePwd();
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls().last(), QString("libPassword::modifyPwdProtectionStatus 1"));
}

QTEST_MAIN(SettingsPasswordTest)
#include "settingspassword_test.moc"
