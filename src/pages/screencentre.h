// Placement of top-level windows.
#pragma once

class QWidget;

namespace talo
{

// Moves a window of fixed size to the middle of the primary screen's free area.
void centreOnScreen(QWidget *window);

} // namespace talo
