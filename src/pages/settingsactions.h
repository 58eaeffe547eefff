// The boxes in which the user picks what a scan does with what it finds.
#pragma once

class QComboBox;
class QString;
class QWidget;

namespace talo
{

// The second action follows where the first one failed, so it is never plain disinfection.
enum class ActionOrder { First, Second };

QComboBox *createActionBox(QWidget *parent, ActionOrder order);

// Shows the action with the engine's code `action`; an unknown code shows the first entry.
void showAction(QComboBox *box, int action);

// Returns the engine's code of the action shown; that of the first entry where none is.
int chosenAction(const QComboBox *box);

} // namespace talo
