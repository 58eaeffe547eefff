// The editor of a scheduled scan: SAVE.
#include "pages/configureschedulescan.h"
#include "pages/pagesupport.h"
#include "support/dialogs.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QComboBox>
#include <QSignalSpy>
#include <QTextEdit>
#include <QTimeEdit>
#include <QtTest>

#include <memory>

using namespace talo::test;

namespace
{

const char kAdd[] = "libScheduleScan::AddScheduleScan";
const char kEdit[] = "libScheduleScan::EditScheduleScan";

} // namespace

class ConfigureScheduleScanSaveTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void blankNameIsRefused_data();
    void blankNameIsRefused();
    void sendsWhatWasChosen_data();
    void sendsWhatWasChosen();
    void nameGoesAsTyped_data();
    void nameGoesAsTyped();
    void addedIsTold();
    void editedIsTold();
    void editSendsOldNameFirst();
    void successfulEditEndsTheEditing();
    void refusalsAreTold_data();
    void refusalsAreTold();
    void otherRefusalsAreSilent_data();
    void otherRefusalsAreSilent();
    void refusedEditStaysAnEdit();
    void typeIsSavedOtherThanItIsLoaded_data();
    void typeIsSavedOtherThanItIsLoaded();

private:
    QTextEdit *name() const { return page_->findChild<QTextEdit *>(); }
    QTimeEdit *start() const { return page_->findChild<QTimeEdit *>(); }
    // Brings a box to an entry with the keyboard.
    void choose(const char *accessibleName, const QString &entry) const;
    QString fields() const;
    bool save() const { return click(button(page_.get(), "SAVE")); }

    std::unique_ptr<ConfigureScheduleScan> page_;
};

void ConfigureScheduleScanSaveTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<ConfigureScheduleScan>(nullptr);
    page_->show();
}

void ConfigureScheduleScanSaveTest::choose(const char *accessibleName, const QString &entry) const
{
    for (QComboBox *box : page_->findChildren<QComboBox *>()) {
        if (box->accessibleName() != accessibleName) {
            continue;
        }
        QVERIFY(box->isEnabled());
        QTest::keyClick(box, Qt::Key_Home);
        for (int i = 0; i < box->count() && box->currentText() != entry; ++i) {
            QTest::keyClick(box, Qt::Key_Down);
        }
        QCOMPARE(box->currentText(), entry);
        return;
    }
    QFAIL("no such box");
}

// "name|type|frequency|weekday|time" as a user sees them.
QString ConfigureScheduleScanSaveTest::fields() const
{
    QStringList shown{name()->toPlainText()};
    for (const QComboBox *box : page_->findChildren<QComboBox *>()) {
        shown << box->currentText();
    }
    return (shown << start()->text()).join('|');
}

void ConfigureScheduleScanSaveTest::blankNameIsRefused_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("nothing") << "";
    QTest::newRow("spaces") << "   ";
    QTest::newRow("lines and tabs") << "\n\t \n";
}

void ConfigureScheduleScanSaveTest::blankNameIsRefused()
{
    QFETCH(QString, typed);
    name()->setPlainText(typed);
    QSignalSpy back(page_.get(), SIGNAL(ShowScheduleScanPage()));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning,
                      "To configure schedule scan, name is mandatory !", page_.get(),
                      "ScheduleScan"),
             QString());
    QCOMPARE(engineCalls(), QStringList());
    QCOMPARE(back.count(), 0);
}

void ConfigureScheduleScanSaveTest::sendsWhatWasChosen_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("weekday"); // empty for a daily scan
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QString>("sent");
    QTest::newRow("full scan on Wednesdays") << "Full Scan"
                                             << "Wednesday" << QTime(14, 5) << "1 502 3 14 5";
    QTest::newRow("daily quick scan") << "Quick Scan"
                                      << "" << QTime(2, 30) << "3 501 8 2 30";
    QTest::newRow("daily full scan at midnight") << "Full Scan"
                                                 << "" << QTime(0, 0) << "1 501 8 0 0";
    QTest::newRow("quick scan on Sundays") << "Quick Scan"
                                           << "Sunday" << QTime(23, 59) << "3 502 0 23 59";
    QTest::newRow("quick scan on Saturdays") << "Quick Scan"
                                             << "Saturday" << QTime(12, 0) << "3 502 6 12 0";
}

void ConfigureScheduleScanSaveTest::sendsWhatWasChosen()
{
    QFETCH(QString, type);
    QFETCH(QString, weekday);
    QFETCH(QTime, time);
    QFETCH(QString, sent);
    QTest::keyClicks(name(), "night");
    choose("Scan Type", type);
    if (!weekday.isEmpty()) {
        choose("Scan Frequency", "Weekly Scan");
        choose("Weekdays", weekday);
    }
    start()->setTime(time);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList(QString(kAdd) + " night " + sent));
}

void ConfigureScheduleScanSaveTest::nameGoesAsTyped_data()
{
    QTest::addColumn<QString>("typed");
    QTest::newRow("surrounding spaces") << " night ";
    QTest::newRow("other script") << QString::fromUtf8("রাতের");
    QTest::newRow("the list's separators") << "a#b,c";
    QTest::newRow("a line break") << "night\n";
    QTest::newRow("a placeholder") << "%1%2";
}

void ConfigureScheduleScanSaveTest::nameGoesAsTyped()
{
    QFETCH(QString, typed);
    name()->setPlainText(typed);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ " + typed + " ] added.", page_.get()),
             QString());
    QCOMPARE(ScriptedEngine::instance().calls(kAdd)[0].arguments[0], typed.toStdString());
}

void ConfigureScheduleScanSaveTest::addedIsTold()
{
    QTest::keyClicks(name(), "night");
    QSignalSpy back(page_.get(), SIGNAL(ShowScheduleScanPage()));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ night ] added.", page_.get()),
             QString());
    QCOMPARE(back.count(), 1);
}

void ConfigureScheduleScanSaveTest::editedIsTold()
{
    page_->setAllDataFieldsToEdit("night", 2, 3, 14, 5);
    name()->setPlainText("evening");
    QSignalSpy back(page_.get(), SIGNAL(ShowScheduleScanPage()));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(boxFault(dialogs, QMessageBox::Information,
                      "ScheduleScan configuration [ evening ] edited.", page_.get()),
             QString());
    QCOMPARE(back.count(), 1);
}

void ConfigureScheduleScanSaveTest::editSendsOldNameFirst()
{
    page_->setAllDataFieldsToEdit("night", 2, 3, 14, 5);
    name()->setPlainText("evening");
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(engineCalls(), QStringList(QString(kEdit) + " night evening 1 502 3 14 5"));
}

void ConfigureScheduleScanSaveTest::successfulEditEndsTheEditing()
{
    page_->setAllDataFieldsToEdit("night", 2, 8, 14, 5);
    Dialogs dialogs;
    dialogs.expectBox();
    dialogs.expectBox();
    QVERIFY(save());
    ScriptedEngine::instance().clearCalls();
    QVERIFY(save());
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList(QString(kAdd) + " night 1 501 8 14 5"));
}

void ConfigureScheduleScanSaveTest::refusalsAreTold_data()
{
    QTest::addColumn<bool>("editing");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("told");
    for (const bool editing : {false, true}) {
        const char *mode = editing ? "edit" : "add";
        QTest::addRow("%s 602", mode) << editing << 602 << "Schedule name already exist";
        QTest::addRow("%s 603", mode) << editing << 603 << "Schedule information already exist";
        QTest::addRow("%s 605", mode)
            << editing << 605 << "Schedule name should not contain a special characters and spaces";
        QTest::addRow("%s 606", mode)
            << editing << 606 << "Schedule name length must be in between 4 to 8";
    }
}

void ConfigureScheduleScanSaveTest::refusalsAreTold()
{
    QFETCH(bool, editing);
    QFETCH(int, code);
    QFETCH(QString, told);
    page_->setAllDataFieldsToEdit("night", 2, 3, 14, 5);
    if (!editing) {
        page_->clearAllDataFields();
        name()->setPlainText("night");
    }
    ScriptedEngine::instance().answer(editing ? kEdit : kAdd, {code});
    const QString before = fields();
    QSignalSpy back(page_.get(), SIGNAL(ShowScheduleScanPage()));
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(boxFault(dialogs, QMessageBox::Warning, told, page_.get(), "ScheduleScan"), QString());
    QCOMPARE(back.count(), 0);
    QCOMPARE(fields(), before);
}

void ConfigureScheduleScanSaveTest::otherRefusalsAreSilent_data()
{
    QTest::addColumn<int>("code");
    for (int code : {601, 604, 607, 608, 1, -1}) {
        QTest::addRow("%d", code) << code;
    }
}

void ConfigureScheduleScanSaveTest::otherRefusalsAreSilent()
{
    QFETCH(int, code);
    name()->setPlainText("night");
    ScriptedEngine::instance().answer(kAdd, {code});
    const QString before = fields();
    QSignalSpy back(page_.get(), SIGNAL(ShowScheduleScanPage()));
    const Dialogs dialogs;
    QVERIFY(save());
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(back.count(), 0);
    QCOMPARE(fields(), before);
}

void ConfigureScheduleScanSaveTest::refusedEditStaysAnEdit()
{
    page_->setAllDataFieldsToEdit("night", 1, 8, 2, 0);
    ScriptedEngine::instance().answerOnce(kEdit, {602});
    name()->setPlainText("noon");
    Dialogs dialogs;
    dialogs.expectBox();
    dialogs.expectBox();
    QVERIFY(save());
    name()->setPlainText("evening");
    QVERIFY(save());
    QCOMPARE(dialogs.fault(), QString());
    QCOMPARE(engineCalls(), QStringList({QString(kEdit) + " night noon 3 501 8 2 0",
                                         QString(kEdit) + " night evening 3 501 8 2 0"}));
    QCOMPARE(dialogs.boxes().last().text,
             QString("ScheduleScan configuration [ evening ] edited."));
}

void ConfigureScheduleScanSaveTest::typeIsSavedOtherThanItIsLoaded_data()
{
    QTest::addColumn<int>("loaded");
    QTest::addColumn<QString>("saved");
    QTest::newRow("quick") << 1 << "3";
    QTest::newRow("full") << 2 << "1";
}

void ConfigureScheduleScanSaveTest::typeIsSavedOtherThanItIsLoaded()
{
    QFETCH(int, loaded);
    QFETCH(QString, saved);
    page_->setAllDataFieldsToEdit("night", loaded, 8, 2, 0);
    Dialogs dialogs;
    dialogs.expectBox();
    QVERIFY(save());
    QCOMPARE(engineCalls(), QStringList(QString(kEdit) + " night night " + saved + " 501 8 2 0"));
}

QTEST_MAIN(ConfigureScheduleScanSaveTest)
#include "configureschedulescan_save_test.moc"
