// Buttons that show a text and nothing else.
#pragma once

#include <QString>

class QToolButton;
class QWidget;

namespace talo
{

// `name` may be empty: a button without a look of its own takes that of what it stands in.
QToolButton *createTextButton(QWidget *parent, const QString &name, const QString &text);

} // namespace talo
