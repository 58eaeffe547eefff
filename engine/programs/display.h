// Whether this process can show a window.
#pragma once

namespace talo::programs
{

// Tries the display that the environment names, since Qt ends a program whose display it cannot
// open. To be called before an application object exists; leads Qt to Wayland where that alone is
// usable.
bool findDisplay();

} // namespace talo::programs
