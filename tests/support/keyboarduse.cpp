#include "support/keyboarduse.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QCalendarWidget>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QRadioButton>
#include <QTextEdit>
#include <QtTest>

#include <algorithm>

namespace talo::test
{
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

class Look
{
public:
    Look(const QString &stop, QWidget *window) : stop_(stop), window_(window) {}
    QStringList go();

private:
    void lookAtOrder(const QList<QWidget *> &controls);
    void lookAtFocus(QWidget *control);
    void complain(QWidget *widget, const char *what);

    QString stop_;
    QWidget *window_;
    QStringList complaints_;
};

void Look::complain(QWidget *widget, const char *what)
{
    complaints_ << QString("%1: %2 %3").arg(stop_, describe(widget), what);
}

QStringList Look::go()
{
    QCoreApplication::processEvents(); // the click that led here may still activate its window_
    window_->activateWindow();
    if (!QTest::qWaitForWindowActive(window_)) {
        complain(window_, "does not become active");
        return complaints_;
    }
    QList<QWidget *> controls;
    for (QWidget *widget : window_->findChildren<QWidget *>()) {
        if (widget->isVisible() && isDecoration(widget) && widget->focusPolicy() != Qt::NoFocus)
            complain(widget, "is a picture that takes the focus");
        if (!isControl(widget))
            continue;
        controls << widget;
        if (nameOf(widget).isEmpty())
            complain(widget, "has no name for who cannot see it");
    }
    lookAtOrder(controls);
    for (QWidget *control : qAsConst(controls))
        lookAtFocus(control);
    return complaints_;
}

void Look::lookAtOrder(const QList<QWidget *> &controls)
{
    const auto controlOf = [](QWidget *widget) {
        while (widget && !widget->isWindow() && !isControl(widget))
            widget = widget->parentWidget();
        return widget;
    };
    QWidget *first = nullptr;
    for (QWidget *control : controls)
        if (!first || isBefore(window_, control, first))
            first = control;
    if (!first)
        return;
    first->setFocus(Qt::TabFocusReason);
    QList<QWidget *> reached;
    for (int i = 0; i < 3 * controls.size() + 20; ++i) {
        QWidget *now = controlOf(window_->focusWidget());
        if (!reached.isEmpty() && now == first && reached.last() != first)
            break;
        if (now && now != window_ && (reached.isEmpty() || reached.last() != now)) {
            if (!reached.isEmpty() && !isBefore(window_, reached.last(), now))
                complain(now, qPrintable("comes after " + describe(reached.last())));
            reached << now;
        }
        QTest::keyClick(window_->focusWidget(), Qt::Key_Tab);
    }
    for (QWidget *control : controls)
        if (!reached.contains(control) && !isReachedByArrows(control, reached))
            complain(control, "is not reached by Tab");
}

void Look::lookAtFocus(QWidget *control)
{
    if (control->focusPolicy() == Qt::NoFocus)
        return; // reported as out of Tab's reach
    if (QWidget *now = window_->focusWidget())
        now->clearFocus();
    const QImage without = lookOf(window_, control);
    control->setFocus(Qt::TabFocusReason);
    if (lookOf(window_, control) == without)
        complain(control, "looks the same with the focus");
    if (auto *button = qobject_cast<QAbstractButton *>(control)) {
        QTest::keyPress(button, Qt::Key_Space);
        if (!button->isDown())
            complain(control, "is not pressed by the space bar");
        button->setDown(false); // and never released: pressing alone does nothing
    }
}

} // namespace

QStringList keyboardFaults(const QString &stop, QWidget *window)
{
    return Look(stop, window).go();
}

} // namespace talo::test
