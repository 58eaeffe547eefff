// What every program that shows a window does before it, so that it looks and lives as the panel's.
#pragma once

class QApplication;

namespace talo::programs
{

// Before the application object: nothing is written to the starter's pipes any more, which may fill
// up or break, and the program lives on when whoever started it ends.
void leaveStarter();

// The panel's name, icon, font and style sheet.
void dress(QApplication &application);

} // namespace talo::programs
