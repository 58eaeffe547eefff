// Creating, changing and resetting the settings password.
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

Q_DECLARE_METATYPE(QMessageBox::Icon)
Q_DECLARE_METATYPE(QMessageBox::StandardButton)

class SettingsNewPasswordTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dialogIsLaidOut_data();
    void dialogIsLaidOut();
    void createReportsResult_data();
    void createReportsResult();
    void createIsCancelled();
    void changeReportsResult_data();
    void changeReportsResult();
    void changeIsCancelled();
    void declinedResetCallsNothing_data();
    void declinedResetCallsNothing();
    void resetReportsResult_data();
    void resetReportsResult();

private:
    // Opens the manage dialog and presses `text` in it; `act` uses the dialog that follows.
    // `managed` looks at the manage dialog afterwards; it is closed then.
    QString run(Dialogs &dialogs, const char *text, std::function<void(QDialog *)> act,
                std::function<void(QDialog *)> managed) const;

    std::unique_ptr<Settings> page_;
};

namespace
{

void scriptPassword(int exists)
{
    ScriptedEngine::instance().answer("libPassword::IsPasswordExists", {exists});
}

void type(const QDialog *dialog, const QStringList &texts)
{
    const auto fields = dialog->findChildren<QLineEdit *>();
    QCOMPARE(fields.size(), texts.size());
    for (int i = 0; i < texts.size(); ++i) {
        fields[i]->setText(texts[i]);
    }
}

QStringList typed(const QDialog *dialog)
{
    QStringList texts;
    for (const auto *field : dialog->findChildren<QLineEdit *>()) {
        texts << field->text();
    }
    return texts;
}

} // namespace

void SettingsNewPasswordTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<Settings>(nullptr);
    page_->show();
}

QString SettingsNewPasswordTest::run(Dialogs &dialogs, const char *text,
                                     std::function<void(QDialog *)> act,
                                     std::function<void(QDialog *)> managed) const
{
    dialogs.expectDialog([&](QDialog *dialog) {
        ScriptedEngine::instance().clearCalls();
        if (act) {
            dialogs.expectDialog(act);
        }
        QVERIFY(click(button(dialog, text)));
        managed(dialog);
        dialog->close();
    });
    return click(button(page_.get(), "Manage Password")) ? dialogs.fault() : "cannot be managed";
}

void SettingsNewPasswordTest::dialogIsLaidOut_data()
{
    QTest::addColumn<int>("exists");
    QTest::addColumn<int>("gap");
    QTest::addColumn<QStringList>("captions");
    QTest::newRow("CREATE") << 1 << 20 << QStringList{"New", "Confirm"};
    QTest::newRow("CHANGE") << 0 << 10 << QStringList{"Current", "New", "Confirm"};
}

void SettingsNewPasswordTest::dialogIsLaidOut()
{
    QFETCH(int, exists);
    QFETCH(int, gap);
    QFETCH(QStringList, captions);
    scriptPassword(exists);
    QStringList items = {"spacing 10"};
    for (int i = 0; i < captions.size(); ++i) {
        items << "row [spacing 20, widget lblPwdProtection, stretch, widget QLineEdit, spacing 10]"
              << QString("spacing %1").arg(gap);
    }
    items << "row [stretch, widget dlgManagePwdBtns, stretch, widget dlgManagePwdBtns, stretch]"
          << QString("spacing %1").arg(gap);
    const auto check = [&](QDialog *dialog) {
        QCOMPARE(dialog->objectName(), QString("dlgManagePwd"));
        QCOMPARE(dialog->parent(), nullptr);
        QCOMPARE(dialog->minimumSize(), QSize(350, 150));
        QCOMPARE(dialog->maximumSize(), QSize(350, 150));
        QCOMPARE(layoutOf(dialog), items);
        QVERIFY(isTight(dialog));
        QStringList texts;
        for (auto *label : dialog->findChildren<QLabel *>()) {
            texts << label->text();
            QCOMPARE(alignmentOf(label), Qt::AlignLeft);
        }
        QCOMPARE(texts, captions);
        QStringList names;
        for (auto *field : dialog->findChildren<QLineEdit *>()) {
            names << field->accessibleName();
            QCOMPARE(field->minimumSize(), QSize(200, 30));
            QCOMPARE(field->maximumSize(), QSize(200, 30));
            QCOMPARE(field->echoMode(), QLineEdit::Password);
            QCOMPARE(alignmentOf(field), Qt::AlignRight);
        }
        QCOMPARE(names, captions);
        for (auto *centred : dialog->findChildren<QToolButton *>()) {
            QCOMPARE(alignmentOf(centred), Qt::AlignHCenter);
            QCOMPARE(centred->cursor().shape(), Qt::PointingHandCursor);
        }
        QVERIFY(button(dialog, "CANCEL")->x() < button(dialog, "OK")->x());
        dialog->close();
    };
    Dialogs dialogs;
    QCOMPARE(run(dialogs, QTest::currentDataTag(), check, [](QDialog *) {}), QString());
}

void SettingsNewPasswordTest::createReportsResult_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<QMessageBox::Icon>("icon");
    QTest::addColumn<QString>("text");
    const QString length = "Password length should be in between 6 to 15 characters.";
    QTest::newRow("created") << 0 << QMessageBox::Information
                             << "Password has been successfully created.";
    QTest::newRow("they differ") << 1 << QMessageBox::Warning << "Password does not match.";
    QTest::newRow("length") << 2 << QMessageBox::Warning << length;
    QTest::newRow("refused") << 3 << QMessageBox::Warning << length;
    QTest::newRow("failed") << -1 << QMessageBox::Warning << length;
}

void SettingsNewPasswordTest::createReportsResult()
{
    QFETCH(int, result);
    QFETCH(QMessageBox::Icon, icon);
    QFETCH(QString, text);
    ScriptedEngine::instance().answer("libPassword::createpass", {result});
    const QStringList entries = {QString::fromUtf8("секрет"), "secret1"};
    Dialogs dialogs;
    const auto act = [&](QDialog *dialog) {
        type(dialog, entries);
        dialogs.expectBox();
        QVERIFY(click(button(dialog, "OK")));
        QCOMPARE(dialog->isVisible(), result != 0);
        QCOMPARE(typed(dialog), entries);
        dialog->close();
    };
    const auto managed = [](QDialog *dialog) { QVERIFY(!dialog->isVisible()); };
    QCOMPARE(run(dialogs, "CREATE", act, managed), QString());
    QCOMPARE(boxFault(dialogs, icon, text, page_.get()), QString());
    // The flag is left alone.
    QCOMPARE(engineCalls(),
             QStringList(QString::fromUtf8("libPassword::createpass секрет secret1 0")));
}

void SettingsNewPasswordTest::createIsCancelled()
{
    Dialogs dialogs;
    const auto act = [](QDialog *dialog) {
        QVERIFY(click(button(dialog, "CANCEL")));
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
    };
    QCOMPARE(run(dialogs, "CREATE", act, [](QDialog *) {}), QString());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsNewPasswordTest::changeReportsResult_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<QMessageBox::Icon>("icon");
    QTest::addColumn<QString>("text");
    QTest::newRow("changed") << 0 << QMessageBox::Information << "Password updated successfully.";
    QTest::newRow("they differ") << 1 << QMessageBox::Warning << "Password does not match.";
    QTest::newRow("length") << 2 << QMessageBox::Warning << "Password length is not proper.";
    QTest::newRow("current is wrong")
        << 3 << QMessageBox::Warning << "Old password does not match.";
    QTest::newRow("failed") << -1 << QMessageBox::Warning << "Old password does not match.";
}

void SettingsNewPasswordTest::changeReportsResult()
{
    QFETCH(int, result);
    QFETCH(QMessageBox::Icon, icon);
    QFETCH(QString, text);
    scriptPassword(0);
    bool openWhenCalled = false;
    bool openWhenTold = false;
    QPointer<QDialog> change;
    ScriptedEngine::instance().answer(
        "libPassword::modifyPassword",
        {result, {}, {}, {}, [&] { openWhenCalled = change->isVisible(); }});
    Dialogs dialogs;
    const auto act = [&](QDialog *dialog) {
        change = dialog;
        connect(qApp, &QGuiApplication::focusWindowChanged, dialog, [&] {
            if (qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                openWhenTold = change->isVisible();
            }
        });
        type(dialog, {"old123", "new123", "new124"});
        dialogs.expectBox();
        QVERIFY(click(button(dialog, "OK")));
        QCOMPARE(dialog->isVisible(), result != 0);
        QCOMPARE(typed(dialog), QStringList({"old123", "new123", "new124"}));
        dialog->close();
    };
    const auto managed = [](QDialog *dialog) { QVERIFY(dialog->isVisible()); };
    QCOMPARE(run(dialogs, "CHANGE", act, managed), QString());
    QCOMPARE(boxFault(dialogs, icon, text, page_.get()), QString());
    QVERIFY(openWhenCalled);
    QCOMPARE(openWhenTold, result != 0);
    QCOMPARE(engineCalls(), QStringList("libPassword::modifyPassword old123 new123 new124"));
}

void SettingsNewPasswordTest::changeIsCancelled()
{
    scriptPassword(0);
    Dialogs dialogs;
    const auto act = [](QDialog *dialog) {
        QVERIFY(click(button(dialog, "CANCEL")));
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
    };
    const auto managed = [](QDialog *dialog) { QVERIFY(dialog->isVisible()); };
    QCOMPARE(run(dialogs, "CHANGE", act, managed), QString());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsNewPasswordTest::declinedResetCallsNothing_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::newRow("No") << QMessageBox::No;
    QTest::newRow("closed") << QMessageBox::NoButton;
}

void SettingsNewPasswordTest::declinedResetCallsNothing()
{
    QFETCH(QMessageBox::StandardButton, answer);
    scriptPassword(0);
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        ScriptedEngine::instance().clearCalls();
        dialogs.expectBox(answer);
        QVERIFY(click(button(dialog, "RESET")));
        QVERIFY(!dialog->isVisible());
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
    });
    QVERIFY(click(button(page_.get(), "Manage Password")));
    QCOMPARE(dialogs.fault(), QString());
    const SeenBox &box = dialogs.boxes().first();
    QCOMPARE(box.icon, QMessageBox::Question);
    QCOMPARE(box.title, QString("TALO Antivirus"));
    QCOMPARE(box.text, QString("Are you sure you want to reset the password? You will receive the "
                               "new password on your registerd email-id"));
    QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(box.parent, page_.get());
    QCOMPARE(engineCalls(), QStringList());
}

void SettingsNewPasswordTest::resetReportsResult_data()
{
    QTest::addColumn<QMessageBox::Icon>("icon"); // none where nothing is told
    QTest::addColumn<QString>("text");
    const QString sent = "Password has been sent on registered email.";
    QTest::newRow("4097") << QMessageBox::Information << sent;
    QTest::newRow("4166") << QMessageBox::Information << sent;
    QTest::newRow("101") << QMessageBox::Warning
                         << "No Internet connection was found. Please check your connection and "
                            "try again.";
    for (const char *result : {"0", "-1", "1", "2", "7", "16", "21", "4098"}) {
        QTest::newRow(result) << QMessageBox::NoIcon << "";
    }
}

void SettingsNewPasswordTest::resetReportsResult()
{
    QFETCH(QMessageBox::Icon, icon);
    QFETCH(QString, text);
    scriptPassword(0);
    ScriptedEngine::instance().answer("product_registration",
                                      {QByteArray(QTest::currentDataTag()).toInt()});
    Dialogs dialogs;
    dialogs.expectDialog([&](QDialog *dialog) {
        ScriptedEngine::instance().clearCalls();
        dialogs.expectBox(QMessageBox::Yes);
        if (icon != QMessageBox::NoIcon) {
            dialogs.expectBox();
        }
        QVERIFY(click(button(dialog, "RESET")));
        QVERIFY(!dialog->isVisible());
    });
    QVERIFY(click(button(page_.get(), "Manage Password")));
    QCOMPARE(dialogs.fault(), QString());
    if (icon != QMessageBox::NoIcon) {
        QCOMPARE(boxFault(dialogs, icon, text, page_.get()), QString());
    }
    QCOMPARE(engineCalls(), QStringList("product_registration 70"));
}

QTEST_MAIN(SettingsNewPasswordTest)
#include "settingsnewpassword_test.moc"
