// How a program is used, as it says itself.
#pragma once

#include <QString>

namespace talo::programs
{

// What is typed, which is the same in every language, and what it does, for translation.
struct UsageLine {
    const char *typed;
    const char *does;
};

// One line after the other in two columns; what is typed has a line of its own where it is long.
QString usageLine(const UsageLine &line);

template <typename Lines> QString usageLines(const Lines &lines)
{
    QString text;
    for (const UsageLine &line : lines)
        text += usageLine(line);
    return text;
}

} // namespace talo::programs
