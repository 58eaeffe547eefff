// Every page and dialog without a mouse and without sight: what can be used is reached by Tab in
// reading order, says its name, shows that it has the focus, and is worked by the keyboard.
#include "app/app.h"
#include "app/panelwalk.h"
#include "support/scriptedengine.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAccessible>
#include <QApplication>
#include <QCalendarWidget>
#include <QComboBox>
#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QTimeEdit>
#include <QToolButton>
#include <QtTest>

#include <algorithm>

using talo::test::ScriptedEngine;
using talo::test::walkPanel;
using talo::test::walkSignatureUpdate;

namespace
{

// Buttons by their class only: pictures and captions.
bool isDecoration(const QWidget *widget)
{
    static const QStringList kNames = {
        "taloicon",       "btnSecureLogo",   "settingsPageTitle",   "helpPageTitle",
        "iconMobileApp",  "iconDataTheft",   "iconDuplicateFinder", "iconShredder",
        "iconUpdate",     "btnVirusSigIcon", "btnProductVerIcon",   "iconRptViewer",
        "iconScanWindow",
    };
    if (kNames.contains(widget->objectName()))
        return true;
    return widget->objectName() == "btnScheduleScanBottom" &&
           widget->parentWidget()->objectName() == "scheduelscanmiddle";
}

// A part of a larger control, which has the focus for it.
bool isPart(const QWidget *widget)
{
    for (const QWidget *up = widget->parentWidget(); up && !up->isWindow(); up = up->parentWidget())
        if (qobject_cast<const QCalendarWidget *>(up) || qobject_cast<const QComboBox *>(up) ||
            qobject_cast<const QAbstractSpinBox *>(up))
            return true;
    return qobject_cast<const QHeaderView *>(widget) != nullptr;
}

bool isControl(const QWidget *widget)
{
    if (!widget->isVisible() || !widget->isEnabled() || isPart(widget) || isDecoration(widget))
        return false;
    return qobject_cast<const QAbstractButton *>(widget) ||
           qobject_cast<const QAbstractItemView *>(widget) ||
           qobject_cast<const QAbstractSpinBox *>(widget) ||
           qobject_cast<const QComboBox *>(widget) || qobject_cast<const QLineEdit *>(widget) ||
           qobject_cast<const QTextEdit *>(widget) || qobject_cast<const QCalendarWidget *>(widget);
}

// Tab reaches one of a group of radio buttons, and the arrows lead to the others.
bool isReachedByArrows(const QWidget *widget, const QList<QWidget *> &reached)
{
    if (!qobject_cast<const QRadioButton *>(widget))
        return false;
    return std::any_of(reached.cbegin(), reached.cend(), [widget](const QWidget *other) {
        return qobject_cast<const QRadioButton *>(other) &&
               other->parentWidget() == widget->parentWidget();
    });
}

QString nameOf(QWidget *widget)
{
    const QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(QAccessible::Name).trimmed() : QString();
}

QString describe(QWidget *widget)
{
    return QString("%1 '%2' \"%3\"")
        .arg(widget->metaObject()->className(), widget->objectName(), nameOf(widget));
}

// Controls of one line may differ in height; two are in one line when their middles are close.
bool isBefore(QWidget *window, QWidget *first, QWidget *second)
{
    const QRect one(first->mapTo(window, QPoint()), first->size());
    const QRect two(second->mapTo(window, QPoint()), second->size());
    const auto inSidebar = [window](const QRect &place) {
        const auto *sidebar = window->findChild<QWidget *>("sidebar");
        return sidebar && sidebar->geometry().contains(place);
    };
    if (inSidebar(one) != inSidebar(two))
        return inSidebar(one);
    if (qAbs(one.center().y() - two.center().y()) <= 15)
        return one.left() <= two.left();
    return one.center().y() < two.center().y();
}

QImage lookOf(QWidget *window, QWidget *widget)
{
    const QRect place(widget->mapTo(window, QPoint(-2, -2)), widget->size() + QSize(4, 4));
    return window->grab(place & window->rect()).toImage();
}

} // namespace

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
    void look(const QString &stop, QWidget *window);
    void lookAtOrder(const QString &stop, QWidget *window, const QList<QWidget *> &controls);
    void lookAtFocus(const QString &stop, QWidget *window, QWidget *control);
    void complain(const QString &stop, QWidget *widget, const char *what);
    // The test's log has room for a few: all of them go to the standard error.
    QString summary() const
    {
        for (const QString &complaint : complaints_)
            qWarning("%s", qPrintable(complaint));
        return QString("%1 complaint(s), listed above").arg(complaints_.size());
    }

    QStringList complaints_;
};

void AccessibilityTest::complain(const QString &stop, QWidget *widget, const char *what)
{
    complaints_ << QString("%1: %2 %3").arg(stop, describe(widget), what);
}

void AccessibilityTest::look(const QString &stop, QWidget *window)
{
    QCoreApplication::processEvents(); // the click that led here may still activate its window
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window)) {
        complain(stop, window, "does not become active");
        return;
    }
    QList<QWidget *> controls;
    for (QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->isVisible() && isDecoration(widget) && widget->focusPolicy() != Qt::NoFocus)
            complain(stop, widget, "is a picture that takes the focus");
        if (!isControl(widget))
            continue;
        controls << widget;
        if (nameOf(widget).isEmpty())
            complain(stop, widget, "has no name for who cannot see it");
    }
    lookAtOrder(stop, window, controls);
    for (QWidget *control : qAsConst(controls))
        lookAtFocus(stop, window, control);
}

void AccessibilityTest::lookAtOrder(const QString &stop, QWidget *window,
                                    const QList<QWidget *> &controls)
{
    const auto controlOf = [](QWidget *widget) {
        while (widget && !widget->isWindow() && !isControl(widget))
            widget = widget->parentWidget();
        return widget;
    };
    QWidget *first = nullptr;
    for (QWidget *control : controls)
        if (!first || isBefore(window, control, first))
            first = control;
    if (!first)
        return;
    first->setFocus(Qt::TabFocusReason);
    QList<QWidget *> reached;
    for (int i = 0; i < 3 * controls.size() + 20; ++i) {
        QWidget *now = controlOf(window->focusWidget());
        if (!reached.isEmpty() && now == first && reached.last() != first)
            break;
        if (now && now != window && (reached.isEmpty() || reached.last() != now)) {
            if (!reached.isEmpty() && !isBefore(window, reached.last(), now))
                complain(stop, now, qPrintable("comes after " + describe(reached.last())));
            reached << now;
        }
        QTest::keyClick(window->focusWidget(), Qt::Key_Tab);
    }
    for (QWidget *control : controls)
        if (!reached.contains(control) && !isReachedByArrows(control, reached))
            complain(stop, control, "is not reached by Tab");
}

void AccessibilityTest::lookAtFocus(const QString &stop, QWidget *window, QWidget *control)
{
    if (control->focusPolicy() == Qt::NoFocus)
        return; // reported as out of Tab's reach
    if (QWidget *now = window->focusWidget())
        now->clearFocus();
    const QImage without = lookOf(window, control);
    control->setFocus(Qt::TabFocusReason);
    if (lookOf(window, control) == without)
        complain(stop, control, "looks the same with the focus");
    if (auto *button = qobject_cast<QAbstractButton *>(control)) {
        QTest::keyPress(button, Qt::Key_Space);
        if (!button->isDown())
            complain(stop, control, "is not pressed by the space bar");
        button->setDown(false); // and never released: pressing alone does nothing
    }
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
        QTRY_VERIFY(tree->model()->rowCount() > 0);
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
