// The password prompt in front of the settings.
#include "app/app.h"
#include "pages/settings.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QDialog>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QStackedWidget>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

Q_DECLARE_METATYPE(QMessageBox::Icon)

namespace
{

const char kQuestion[] = "Are you sure you want to reset the password? You will receive the new "
                         "password on your registerd email-id";
const char kSent[] = "Password has been sent on registered email.";

void typePassword(QDialog *prompt, const QString &password)
{
    auto *field = prompt->findChild<QLineEdit *>();
    field->clear();
    QTest::keyClicks(field, password);
}

} // namespace

class PasswordGateTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void asksOnlyWhenProtected_data();
    void asksOnlyWhenProtected();
    void promptIsBuiltAsDesigned();
    void rightPasswordOpensSettings_data();
    void rightPasswordOpensSettings();
    void everyVisitAsksAnew();
    void wrongPasswordKeepsPrompt();
    void passwordTravelsAsUtf8();
    void refusalKeepsPage_data();
    void refusalKeepsPage();
    void declinedResetDoesNothing_data();
    void declinedResetDoesNothing();
    void resetReportsResult_data();
    void resetReportsResult();

private:
    QStackedWidget *stack() const;
    QToolButton *find(const char *name) const { return window_->findChild<QToolButton *>(name); }
    Settings *settings() const { return window_->findChild<Settings *>(); }
    void protect() const;

    std::unique_ptr<TaloAntivirus_Linux_App> window_;
};

void PasswordGateTest::init()
{
    ScriptedEngine::instance().reset();
    window_ = std::make_unique<TaloAntivirus_Linux_App>(nullptr);
    window_->show();
}

QStackedWidget *PasswordGateTest::stack() const
{
    return window_->findChild<QWidget *>("center")->findChild<QStackedWidget *>(
        QString(), Qt::FindDirectChildrenOnly);
}

void PasswordGateTest::protect() const
{
    ScriptedEngine::instance().answer("libPassword::IsPasswordExists", {0});
    ScriptedEngine::instance().answer("libPassword::getPwdProtectionStaus", {1});
    ScriptedEngine::instance().answer("libPassword::ValidatePassword", {0});
}

void PasswordGateTest::asksOnlyWhenProtected_data()
{
    QTest::addColumn<int>("exists");
    QTest::addColumn<int>("protection");
    QTest::addColumn<bool>("asks");
    QTest::newRow("stored and on") << 0 << 1 << true;
    QTest::newRow("stored but off") << 0 << 0 << false;
    QTest::newRow("stored, odd status") << 0 << 2 << false;
    QTest::newRow("on without a password") << 1 << 1 << false;
    QTest::newRow("on, password unknown") << -1 << 1 << false;
    QTest::newRow("neither") << 1 << 0 << false;
}

void PasswordGateTest::asksOnlyWhenProtected()
{
    QFETCH(int, exists);
    QFETCH(int, protection);
    QFETCH(bool, asks);
    ScriptedEngine::instance().answer("libPassword::IsPasswordExists", {exists});
    ScriptedEngine::instance().answer("libPassword::getPwdProtectionStaus", {protection});
    Dialogs dialogs;
    if (asks) {
        dialogs.expectDialog([](QDialog *prompt) { prompt->close(); });
    }
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(stack()->currentIndex(), asks ? 0 : 1);
}

void PasswordGateTest::promptIsBuiltAsDesigned()
{
    protect();
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) {
        QCOMPARE(prompt->objectName(), QString("dlgManagePwd"));
        QCOMPARE(prompt->parentWidget(), nullptr);
        QCOMPARE(prompt->minimumSize(), QSize(350, 150));
        QCOMPARE(prompt->maximumSize(), QSize(350, 150));
        QVERIFY(hasFlags(prompt, Qt::WindowTitleHint | Qt::WindowCloseButtonHint));
        QCOMPARE(prompt->contentsMargins(), QMargins());
        QCOMPARE(prompt->findChild<QLabel *>("lblValidatePwd")->text(),
                 QString("Please enter the password to\nto access settings."));
        auto *field = prompt->findChild<QLineEdit *>();
        QCOMPARE(field->minimumSize(), QSize(200, 30));
        QCOMPARE(field->maximumSize(), QSize(200, 30));
        QCOMPARE(field->echoMode(), QLineEdit::Password);
        auto *forgot = prompt->findChild<QToolButton *>("btnForgotPwd");
        QCOMPARE(forgot->text(), QString("Forgot password ?"));
        QStringList texts;
        for (auto *sized : prompt->findChildren<QToolButton *>("btnApplyPwdForValidate")) {
            texts << sized->text();
            QCOMPARE(sized->cursor().shape(), Qt::PointingHandCursor);
        }
        QCOMPARE(texts, QStringList({"APPLY", "CANCEL"}));
        QCOMPARE(forgot->cursor().shape(), Qt::PointingHandCursor);
        QCOMPARE(prompt->layout()->contentsMargins(), QMargins());
        QCOMPARE(prompt->layout()->spacing(), 0);
        const QString row = "row [stretch, widget btnApplyPwdForValidate, stretch, "
                            "widget btnApplyPwdForValidate, stretch]";
        QCOMPARE(layoutOf(prompt),
                 QStringList({"spacing 5", "widget lblValidatePwd", "spacing 5", "widget QLineEdit",
                              "spacing 5", "widget btnForgotPwd", "spacing 5", row, "spacing 10"}));
        for (int i : {1, 3, 5}) {
            QCOMPARE(prompt->layout()->itemAt(i)->alignment(), Qt::AlignHCenter);
        }
        prompt->close();
    });
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
}

void PasswordGateTest::rightPasswordOpensSettings_data()
{
    QTest::addColumn<int>("tab");
    QTest::newRow("btnSettings") << 0;
    QTest::newRow("btnWebAndEmail") << 1;
}

void PasswordGateTest::rightPasswordOpensSettings()
{
    QFETCH(int, tab);
    protect();
    // The settings are left on their other tab.
    settings()->tabStack()->setCurrentIndex(1 - tab);
    (tab == 0 ? settings()->webAndEmailSettingsButton() : settings()->scanSettingsButton())
        ->setChecked(true);
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) {
        typePassword(prompt, "secret1");
        QVERIFY(click(button(prompt, "APPLY")));
        QVERIFY(!prompt->isVisible());
    });
    QVERIFY(click(find(QTest::currentDataTag())));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(stack()->currentIndex(), 1);
    QVERIFY(find("btnSettings")->isChecked());
    QVERIFY(!find("btnHome")->isChecked());
    QCOMPARE(settings()->tabStack()->currentIndex(), tab);
    QCOMPARE(settings()->scanSettingsButton()->isChecked(), tab == 0);
    QCOMPARE(settings()->webAndEmailSettingsButton()->isChecked(), tab == 1);
    const auto checks = ScriptedEngine::instance().calls("libPassword::ValidatePassword");
    QCOMPARE(checks.size(), size_t(1));
    QCOMPARE(checks[0].arguments, std::vector<std::string>{"secret1"});
}

void PasswordGateTest::everyVisitAsksAnew()
{
    protect();
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) { click(button(prompt, "APPLY")); });
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(stack()->currentIndex(), 1);
    QVERIFY(click(find("btnHome")));
    dialogs.expectDialog([](QDialog *prompt) {
        QCOMPARE(prompt->findChild<QLineEdit *>()->text(), QString());
        click(button(prompt, "CANCEL"));
    });
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(stack()->currentIndex(), 0);
}

void PasswordGateTest::wrongPasswordKeepsPrompt()
{
    protect();
    ScriptedEngine::instance().answerOnce("libPassword::ValidatePassword", {1});
    Dialogs dialogs;
    dialogs.expectDialog([this](QDialog *prompt) {
        typePassword(prompt, "wrong11");
        QVERIFY(click(button(prompt, "APPLY")));
        QVERIFY(prompt->isVisible());
        QCOMPARE(prompt->findChild<QLineEdit *>()->text(), QString("wrong11"));
        QCOMPARE(stack()->currentIndex(), 0);
        QVERIFY(click(button(prompt, "APPLY")));
    });
    dialogs.expectBox();
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, "Password does not match.", window_.get()),
             QString());
    QCOMPARE(stack()->currentIndex(), 1);
}

void PasswordGateTest::passwordTravelsAsUtf8()
{
    protect();
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) {
        prompt->findChild<QLineEdit *>()->setText(QString::fromUtf8("pässwörd"));
        click(button(prompt, "APPLY"));
    });
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(ScriptedEngine::instance().calls("libPassword::ValidatePassword")[0].arguments[0],
             std::string("pässwörd"));
}

void PasswordGateTest::refusalKeepsPage_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("marked");
    for (const char *way : {"CANCEL", "close"}) {
        QTest::addRow("home %s", way) << 0 << way << "btnHome";
        QTest::addRow("scan %s", way) << 3 << way << "btnHome";
        QTest::addRow("help %s", way) << 2 << way << "btnHelp";
    }
}

void PasswordGateTest::refusalKeepsPage()
{
    QFETCH(int, page);
    QFETCH(QString, way);
    protect();
    if (page == 2) {
        QVERIFY(click(find("btnHelp")));
    }
    stack()->setCurrentIndex(page);
    Dialogs dialogs;
    dialogs.expectDialog([way](QDialog *prompt) {
        if (way == "close") {
            prompt->close();
        } else {
            QVERIFY(click(button(prompt, way)));
        }
    });
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(stack()->currentIndex(), page);
    QFETCH(QString, marked);
    for (const char *name : {"btnHome", "btnSettings", "btnHelp"}) {
        QCOMPARE(find(name)->isChecked(), marked == name);
    }
    QCOMPARE(ScriptedEngine::instance().calls("libPassword::ValidatePassword").size(), size_t(0));
}

void PasswordGateTest::declinedResetDoesNothing_data()
{
    QTest::addColumn<int>("answer");
    QTest::newRow("No") << int(QMessageBox::No);
    QTest::newRow("close") << int(QMessageBox::NoButton);
}

void PasswordGateTest::declinedResetDoesNothing()
{
    QFETCH(int, answer);
    protect();
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) { click(button(prompt, "Forgot password ?")); });
    dialogs.expectBox(QMessageBox::StandardButton(answer));
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(dialogs.boxes().size(), 1);
    const SeenBox &box = dialogs.boxes().first();
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, QString(kQuestion));
    QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.parent, window_.get());
    QCOMPARE(ScriptedEngine::instance().calls("product_registration").size(), size_t(0));
    QCOMPARE(stack()->currentIndex(), 0);
    QVERIFY(find("btnHome")->isChecked());
    QVERIFY(!find("btnSettings")->isChecked());
}

void PasswordGateTest::resetReportsResult_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QMessageBox::Icon>("icon");
    for (int code : {4097, 4166}) {
        QTest::addRow("sent %d", code) << code << QMessageBox::Information;
    }
    for (int code : {101, 1, 2, 3, 4, 5, 6, 7, 16, 17, 19, 20, 21, -1}) {
        QTest::addRow("fault %d", code) << code << QMessageBox::Warning;
    }
    for (int code : {0, 8, 15, 18, 22, 100, 4098, -2}) {
        QTest::addRow("silent %d", code) << code << QMessageBox::NoIcon;
    }
}

void PasswordGateTest::resetReportsResult()
{
    QFETCH(int, code);
    QFETCH(QMessageBox::Icon, icon);
    protect();
    ScriptedEngine::instance().answer("product_registration", {code});
    Dialogs dialogs;
    dialogs.expectDialog([](QDialog *prompt) { click(button(prompt, "Forgot password ?")); });
    dialogs.expectBox(QMessageBox::Yes);
    if (icon != QMessageBox::NoIcon) {
        dialogs.expectBox();
    }
    QVERIFY(click(find("btnSettings")));
    QCOMPARE(dialogs.fault(), QString());
    const auto requests = ScriptedEngine::instance().calls("product_registration");
    QCOMPARE(requests.size(), size_t(1));
    QCOMPARE(requests[0].arguments, std::vector<std::string>{"70"});
    QCOMPARE(stack()->currentIndex(), 0);
    if (icon != QMessageBox::NoIcon) {
        const SeenBox &box = dialogs.boxes().last();
        QCOMPARE(box.icon, icon);
        QCOMPARE(box.title, QString("TALO Antivirus"));
        QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(box.parent, window_.get());
        QCOMPARE(box.text == kSent, icon == QMessageBox::Information);
        QCOMPARE(box.text.contains("Internet"), code == 101);
    }
}

QTEST_MAIN(PasswordGateTest)
#include "passwordgate_test.moc"
