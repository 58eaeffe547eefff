// The pieces that the settings' sub-pages and dialogs are made of.
#pragma once

#include <Qt>

class QHBoxLayout;
class QString;
class QToolButton;
class QWidget;

namespace talo
{

// An on/off button, drawn by the style sheet; checked is on. `meaning` names it to screen readers.
QToolButton *createSwitch(QWidget *parent, const QString &name, const QString &meaning);

// A row of a label and the control that it names.
QHBoxLayout *createLabelledRow(QWidget *label, QWidget *control, Qt::Alignment alignment = {});

} // namespace talo
