// Text from outside, made safe to show on a terminal.
#pragma once

#include <QString>

namespace talo::programs
{

// The text with everything escaped that does not print: control characters, and the invisible ones
// that reverse or hide what follows. The service escapes what it sends; a terminal acts on what it
// is given, so it is not left to that alone.
QString printable(const QString &text);

// The same for a text of several lines, whose line feeds and tabs stay.
QString printableLines(const QString &text);

} // namespace talo::programs
