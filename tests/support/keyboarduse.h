// Whether a window can be used without a mouse and without sight.
#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace talo::test
{

// What is wrong with the controls of a visible window, which becomes active for it: each must be
// reached by Tab in reading order, have a name, show the focus, and be pressed by the space bar.
// `stop` begins every sentence.
QStringList keyboardFaults(const QString &stop, QWidget *window);

} // namespace talo::test
