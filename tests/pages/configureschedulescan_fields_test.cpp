// The editor of a scheduled scan: how it is built, and how a schedule is loaded into its fields.
#include "pages/configureschedulescan.h"
#include "pages/pagesupport.h"
#include "support/scriptedengine.h"
#include "support/widgets.h"

#include <QComboBox>
#include <QLabel>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTextEdit>
#include <QTimeEdit>
#include <QToolButton>
#include <QtTest>

#include <memory>

using namespace talo::test;

class ConfigureScheduleScanFieldsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void declaresSignalsAndSlotsInOrder();
    void pageIsLaidOut();
    void bandsAreLaidOut();
    void fieldsAreLaidOut();
    void boxesOffer_data();
    void boxesOffer();
    void backAndCancelLeadToTheList_data();
    void backAndCancelLeadToTheList();
    void startsEmpty();
    void frequencyDecidesAboutWeekday();
    void clearingBringsBackTheStart();
    void loadsTypes_data();
    void loadsTypes();
    void loadsDaily();
    void loadsWeekly_data();
    void loadsWeekly();
    void loadsTime_data();
    void loadsTime();
    void loadedNameIsNoMarkup();
    void nameIsAFieldOfOneLine();
    void loadingAsksNothingOfTheEngine();

private:
    QComboBox *box(const char *accessibleName) const;
    QComboBox *type() const { return box("Scan Type"); }
    QComboBox *frequency() const { return box("Scan Frequency"); }
    QComboBox *weekday() const { return box("Weekdays"); }
    QTextEdit *name() const { return page_->findChild<QTextEdit *>(); }
    QTimeEdit *start() const { return page_->findChild<QTimeEdit *>(); }
    bool startsAboutNow() const;

    std::unique_ptr<ConfigureScheduleScan> page_;
};

void ConfigureScheduleScanFieldsTest::init()
{
    ScriptedEngine::instance().reset();
    page_ = std::make_unique<ConfigureScheduleScan>(nullptr);
    page_->show();
}

QComboBox *ConfigureScheduleScanFieldsTest::box(const char *accessibleName) const
{
    for (QComboBox *candidate : page_->findChildren<QComboBox *>()) {
        if (candidate->accessibleName() == accessibleName) {
            return candidate;
        }
    }
    return nullptr;
}

// Within the last minute, which may have been the last of yesterday.
bool ConfigureScheduleScanFieldsTest::startsAboutNow() const
{
    constexpr int kDay = 24 * 60 * 60;
    const int past = (start()->time().secsTo(QTime::currentTime()) + kDay) % kDay;
    return past < 60;
}

void ConfigureScheduleScanFieldsTest::declaresSignalsAndSlotsInOrder()
{
    QCOMPARE(signalsOf(ConfigureScheduleScan::staticMetaObject),
             QStringList("ShowScheduleScanPage()"));
    QCOMPARE(slotsOf(ConfigureScheduleScan::staticMetaObject),
             QStringList({"btnSaveSchClicked()", "cmbFrequnecyChanged(int)"}));
}

void ConfigureScheduleScanFieldsTest::pageIsLaidOut()
{
    QCOMPARE(page_->objectName(), QString("configureschedulescan"));
    QCOMPARE(page_->minimumSize(), QSize(650, 420));
    QCOMPARE(page_->maximumSize(), QSize(650, 420));
    QCOMPARE(page_->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layoutOf(page_.get()),
             QStringList({"spacing 5", "widget scantop", "stretch", "widget scheduelscanmiddle",
                          "stretch", "widget bottomschedulescan", "stretch"}));
    QVERIFY(isTight(page_.get()));
}

void ConfigureScheduleScanFieldsTest::bandsAreLaidOut()
{
    auto *top = page_->findChild<QWidget *>("scantop");
    QCOMPARE(top->size(), QSize(650, 50));
    QCOMPARE(layoutOf(top), QStringList({"spacing 10", "widget QToolButton", "spacing 120",
                                         "widget QLabel", "stretch"}));
    QCOMPARE(top->findChild<QLabel *>()->text(), QString("Configure Schedule Scan"));

    auto *middle = page_->findChild<QWidget *>("scheduelscanmiddle");
    QCOMPARE(middle->size(), QSize(650, 310));
    QCOMPARE(middle->contentsMargins(), QMargins(10, 0, 10, 0));
    QCOMPARE(layoutOf(middle), QStringList({"spacing 10", "widget btnScheduleScanBottom",
                                            "spacing 10", "widget schContainer"}));
    auto *caption = middle->findChild<QToolButton *>("btnScheduleScanBottom");
    QCOMPARE(caption->text(), QString("  Set up a day and time when you want the scan to begin."));
    QCOMPARE(caption->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    QCOMPARE(caption->iconSize(), QSize(25, 25));

    auto *bottom = page_->findChild<QWidget *>("bottomschedulescan");
    QCOMPARE(bottom->size(), QSize(650, 50));
    QCOMPARE(layoutOf(bottom), QStringList({"stretch", "widget QToolButton", "spacing 10",
                                            "widget QToolButton", "spacing 10"}));
    QVERIFY(button(bottom, "CANCEL")->x() < button(bottom, "SAVE")->x());
}

void ConfigureScheduleScanFieldsTest::fieldsAreLaidOut()
{
    auto *container = page_->findChild<QWidget *>("schContainer");
    QCOMPARE(container->size(), QSize(630, 240));
    const QString pairOfBoxes = "row [spacing 20, widget QLabel, widget QComboBox, spacing 30, "
                                "widget QLabel, widget QComboBox, stretch]";
    const QString nameRow =
        QString(pairOfBoxes).replace(pairOfBoxes.indexOf("QComboBox"), 9, "QTextEdit");
    QCOMPARE(layoutOf(container),
             QStringList({nameRow, pairOfBoxes,
                          "row [spacing 20, widget QLabel, widget QTimeEdit, stretch]"}));
    QVERIFY(isTight(container));
    QStringList captions;
    for (const QLabel *label : container->findChildren<QLabel *>()) {
        captions << label->text();
        QCOMPARE(label->size(), QSize(120, 30));
    }
    QCOMPARE(captions,
             QStringList({"Scan Name", "Scan Type", "Scan Frequency", "Weekdays", "Start Time"}));
    for (const QWidget *field : QList<QWidget *>{name(), type(), frequency(), weekday(), start()}) {
        QCOMPARE(field->minimumSize(), QSize(150, 30));
        QCOMPARE(field->maximumSize(), QSize(150, 30));
    }
}

void ConfigureScheduleScanFieldsTest::boxesOffer_data()
{
    QTest::addColumn<QString>("box");
    QTest::addColumn<QStringList>("entries");
    QTest::newRow("type") << "Scan Type" << QStringList{"Quick Scan", "Full Scan"};
    QTest::newRow("frequency") << "Scan Frequency" << QStringList{"Daily Scan", "Weekly Scan"};
    QTest::newRow("weekday") << "Weekdays"
                             << QStringList{"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
}

void ConfigureScheduleScanFieldsTest::boxesOffer()
{
    QFETCH(QString, box);
    const QComboBox *shown = this->box(qPrintable(box));
    QStringList entries;
    for (int i = 0; i < shown->count(); ++i) {
        entries << shown->itemText(i);
    }
    QTEST(entries, "entries");
    QCOMPARE(shown->currentIndex(), 0);
}

void ConfigureScheduleScanFieldsTest::backAndCancelLeadToTheList_data()
{
    QTest::addColumn<QString>("pressed");
    QTest::newRow("BACK") << " < BACK ";
    QTest::newRow("CANCEL") << "CANCEL";
}

void ConfigureScheduleScanFieldsTest::backAndCancelLeadToTheList()
{
    QFETCH(QString, pressed);
    name()->setPlainText("night");
    QSignalSpy spy(page_.get(), SIGNAL(ShowScheduleScanPage()));
    QVERIFY(click(button(page_.get(), pressed)));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(engineCalls(), QStringList());
}

void ConfigureScheduleScanFieldsTest::startsEmpty()
{
    QCOMPARE(name()->toPlainText(), QString());
    QVERIFY(!weekday()->isEnabled());
    QVERIFY(startsAboutNow());
}

void ConfigureScheduleScanFieldsTest::frequencyDecidesAboutWeekday()
{
    QTest::keyClick(frequency(), Qt::Key_Down);
    QCOMPARE(frequency()->currentText(), QString("Weekly Scan"));
    QVERIFY(weekday()->isEnabled());
    QTest::keyClick(frequency(), Qt::Key_Up);
    QVERIFY(!weekday()->isEnabled());
}

void ConfigureScheduleScanFieldsTest::clearingBringsBackTheStart()
{
    page_->setAllDataFieldsToEdit("night", 2, 5, 14, 5);
    QVERIFY(weekday()->isEnabled());
    page_->clearAllDataFields();
    QCOMPARE(name()->toPlainText(), QString());
    QCOMPARE(type()->currentText(), QString("Quick Scan"));
    QCOMPARE(frequency()->currentText(), QString("Daily Scan"));
    QVERIFY(!weekday()->isEnabled());
    QCOMPARE(weekday()->currentText(), QString("Friday")); // kept
    QVERIFY(startsAboutNow());
}

void ConfigureScheduleScanFieldsTest::loadsTypes_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("shown");
    QTest::newRow("1 is quick") << 2 << 1 << "Quick Scan";
    QTest::newRow("2 is full") << 1 << 2 << "Full Scan";
    QTest::newRow("3 changes nothing of quick") << 1 << 3 << "Quick Scan";
    QTest::newRow("3 changes nothing of full") << 2 << 3 << "Full Scan";
    QTest::newRow("0 changes nothing") << 2 << 0 << "Full Scan";
    QTest::newRow("-1 changes nothing") << 2 << -1 << "Full Scan";
}

void ConfigureScheduleScanFieldsTest::loadsTypes()
{
    QFETCH(int, before);
    QFETCH(int, type);
    page_->setAllDataFieldsToEdit("night", before, 8, 2, 0);
    page_->setAllDataFieldsToEdit("night", type, 8, 2, 0);
    QTEST(this->type()->currentText(), "shown");
}

void ConfigureScheduleScanFieldsTest::loadsDaily()
{
    page_->setAllDataFieldsToEdit("night", 1, 3, 2, 0);
    page_->setAllDataFieldsToEdit("noon", 1, 8, 12, 0);
    QCOMPARE(name()->toPlainText(), QString("noon"));
    QCOMPARE(frequency()->currentText(), QString("Daily Scan"));
    QVERIFY(!weekday()->isEnabled());
}

void ConfigureScheduleScanFieldsTest::loadsWeekly_data()
{
    QTest::addColumn<int>("weekday");
    QTest::addColumn<QString>("shown");
    const QStringList days{"Sunday",   "Monday", "Tuesday", "Wednesday",
                           "Thursday", "Friday", "Saturday"};
    for (int day = 0; day < days.size(); ++day) {
        QTest::newRow(qPrintable(days[day])) << day << days[day];
    }
}

void ConfigureScheduleScanFieldsTest::loadsWeekly()
{
    QFETCH(int, weekday);
    page_->setAllDataFieldsToEdit("night", 1, weekday, 2, 0);
    QCOMPARE(frequency()->currentText(), QString("Weekly Scan"));
    QVERIFY(this->weekday()->isEnabled());
    QTEST(this->weekday()->currentText(), "shown");
}

void ConfigureScheduleScanFieldsTest::loadsTime_data()
{
    QTest::addColumn<QTime>("time");
    QTest::addColumn<QString>("shown");
    QTest::newRow("first minute") << QTime(0, 0) << "00:00";
    QTest::newRow("afternoon") << QTime(14, 5) << "14:05";
    QTest::newRow("last minute") << QTime(23, 59) << "23:59";
}

void ConfigureScheduleScanFieldsTest::loadsTime()
{
    QFETCH(QTime, time);
    page_->setAllDataFieldsToEdit("night", 1, 8, time.hour(), time.minute());
    QCOMPARE(start()->time(), time); // without seconds
    QTEST(start()->text(), "shown");
}

void ConfigureScheduleScanFieldsTest::loadedNameIsNoMarkup()
{
    page_->setAllDataFieldsToEdit("<b>a</b>", 1, 8, 2, 0);
    QCOMPARE(name()->toPlainText(), QString("<b>a</b>"));
}

void ConfigureScheduleScanFieldsTest::nameIsAFieldOfOneLine()
{
    QVERIFY(QTest::qWaitForWindowActive(page_.get()));
    name()->setFocus();
    QTest::keyClicks(name(), "night");
    QTest::keyClick(name(), Qt::Key_Tab);
    QCOMPARE(name()->toPlainText(), QString("night"));
    QVERIFY(type()->hasFocus());

    name()->setPlainText(QString(100, 'x'));
    QCOMPARE(name()->lineWrapMode(), QTextEdit::NoWrap);
    QVERIFY(!name()->verticalScrollBar()->isVisible());
    QVERIFY(!name()->horizontalScrollBar()->isVisible());
}

void ConfigureScheduleScanFieldsTest::loadingAsksNothingOfTheEngine()
{
    page_->setAllDataFieldsToEdit("night", 1, 8, 2, 0);
    page_->clearAllDataFields();
    QCOMPARE(engineCalls(), QStringList());
}

QTEST_MAIN(ConfigureScheduleScanFieldsTest)
#include "configureschedulescan_fields_test.moc"
