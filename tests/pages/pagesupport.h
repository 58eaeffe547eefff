// What the tests of several pages share.
#pragma once

#include <QStringList>
#include <QWidget>

class QLayout;
class QToolButton;

namespace talo::test
{

// Every call since the last ScriptedEngine::clearCalls(): "Firewall::TriggerFirewall 1".
QStringList engineCalls();

// The calls that reload all settings.
QStringList reloadCalls();

// The button of this name that a user can see; null where there is none or more than one.
QToolButton *visibleButton(const QWidget *parent, const QString &name);

// The texts of the buttons that a user can see, in the order of their creation.
QStringList visibleTexts(const QWidget *parent);

// How a widget is aligned in the layout of its parent.
Qt::Alignment alignmentOf(QWidget *widget);

// True when the widget's layout and all layouts in it have neither margins nor spacing.
bool isTight(const QWidget *widget);

} // namespace talo::test
