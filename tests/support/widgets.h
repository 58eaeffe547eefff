// Finding the panel's real widgets and using them as a user does.
#pragma once

#include <QAbstractButton>
#include <QList>
#include <QStringList>
#include <QWidget>

class QTreeView;

namespace talo::test
{

// The buttons of one text below `parent`, in the order of their creation.
QList<QAbstractButton *> buttons(const QWidget *parent, const QString &text);
// The only such button, or null where there is none or more than one.
QAbstractButton *button(const QWidget *parent, const QString &text);

// Clicks the middle of a widget. False where a user could not: null, hidden or disabled.
bool click(QWidget *widget);

// Clicks the row of `path` in a tree on a QFileSystemModel, whose content arrives over time.
bool clickPath(QTreeView *tree, const QString &path);

// The signals and slots that a class itself declares, in order: "ShowHomePage()".
QStringList signalsOf(const QMetaObject &meta);
QStringList slotsOf(const QMetaObject &meta);

// The items of the widget's layout in order: "spacing 10", "stretch", "widget btnHome", with the
// class of a widget that has no name, "row [...]" and "column [...]" for nested layouts.
QStringList layoutOf(const QWidget *widget);

} // namespace talo::test
