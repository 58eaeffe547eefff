// Every page and dialog without a mouse and without sight: what can be used is reached by Tab in
// reading order, says its name, shows that it has the focus, and is worked by the keyboard.
#include "app/app.h"
#include "app/panelwalk.h"
#include "support/keyboarduse.h"
#include "support/scriptedengine.h"
#include "support/soon.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTimer>
#include <QToolButton>
#include <QtTest>

using talo::test::keyboardFaults;
using talo::test::ScriptedEngine;
using talo::test::walkPanel;
using talo::test::walkSignatureUpdate;

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void everyStopWorksWithoutMouse();
    void signatureUpdateWorksWithoutMouse();
    void spaceOpensPages();
    void returnOpensReport();
    void arrowsChooseFile();
    void returnPicksDay();

private:
    void look(const QString &stop, QWidget *window) { complaints_ << keyboardFaults(stop, window); }
    // The test's log has room for a few: all of them go to the standard error.
    QString summary() const;

    QStringList complaints_;
};

QString AccessibilityTest::summary() const
{
    for (const QString &complaint : complaints_)
        qWarning("%s", qPrintable(complaint));
    return QString("%1 complaint(s), listed above").arg(complaints_.size());
}

void AccessibilityTest::everyStopWorksWithoutMouse()
{
    complaints_.clear();
    int stops = 0;
    const QString fault = walkPanel([&](const QString &stop, QWidget *window) {
        ++stops;
        look(stop, window);
    });
    QVERIFY2(complaints_.isEmpty(), qPrintable(summary()));
    QCOMPARE(fault, QString());
    QVERIFY2(stops > 60, qPrintable(QString::number(stops)));
}

void AccessibilityTest::signatureUpdateWorksWithoutMouse()
{
    complaints_.clear();
    walkSignatureUpdate([this](const QString &stop, QWidget *window) { look(stop, window); });
    QVERIFY2(complaints_.isEmpty(), qPrintable(summary()));
}

void AccessibilityTest::spaceOpensPages()
{
    ScriptedEngine::instance().reset();
    TaloAntivirus_Linux_App window(nullptr);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    auto *pages = window.findChild<QStackedWidget *>();
    for (const char *name : {"btnHelp", "btnSettings", "btnHome"}) {
        const int before = pages->currentIndex();
        window.findChild<QToolButton *>(name)->setFocus();
        QTest::keyClick(window.focusWidget(), Qt::Key_Space);
        QVERIFY2(pages->currentIndex() != before, name);
    }
}

void AccessibilityTest::returnOpensReport()
{
    int viewers = 0;
    const QString fault = walkPanel([&](const QString &stop, QWidget *window) {
        if (stop != "reports")
            return;
        auto *table = window->findChild<QWidget *>("report")->findChild<QTableWidget *>();
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Down);
        QTimer::singleShot(50, window, [&] {
            if (auto *viewer = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
                viewers += viewer->objectName() == "viewreport" ? 1 : 0;
                viewer->reject();
            }
        });
        QTest::keyClick(table, Qt::Key_Return);
        table->setCurrentItem(nullptr);
    });
    QCOMPARE(fault, QString());
    QCOMPARE(viewers, 1);
}

void AccessibilityTest::arrowsChooseFile()
{
    int chosen = 0;
    const QString fault = walkPanel([&](const QString &stop, QWidget *window) {
        if (stop != "scan-chooser")
            return;
        auto *tree = window->findChild<QAbstractItemView *>();
        QSignalSpy spy(tree, SIGNAL(clicked(QModelIndex)));
        QTRY_VERIFY_WITH_TIMEOUT(tree->model()->rowCount() > 0, kSoon);
        tree->setFocus();
        QTest::keyRelease(tree, Qt::Key_Tab);
        QCOMPARE(spy.count(), 0);
        QTest::keyClick(tree, Qt::Key_Down);
        chosen = spy.count();
    });
    QCOMPARE(fault, QString());
    QCOMPARE(chosen, 1);
}

void AccessibilityTest::returnPicksDay()
{
    bool closed = false;
    walkPanel([&](const QString &stop, QWidget *window) {
        if (stop != "reports-calendar")
            return;
        auto *days = window->findChild<QAbstractItemView *>("qt_calendar_calendarview");
        days->setFocus();
        QTest::keyClick(days, Qt::Key_Left);
        QTest::keyClick(days, Qt::Key_Return);
        closed = !window->isVisible();
    });
    QVERIFY(closed);
}

QTEST_MAIN(AccessibilityTest)
#include "accessibility_test.moc"
