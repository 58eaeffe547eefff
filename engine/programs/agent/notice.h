// What the agent tells the user, before it knows how the desktop shows it.
#pragma once

#include <QString>

namespace talo::programs
{

struct Notice {
    // The values that the desktop knows them by.
    enum class Urgency : unsigned char { Normal = 1, Critical = 2 };

    QString group;   // the next notice of a group takes the place of the one still shown
    QString icon;    // of the desktop's theme
    QString summary; // both are plain text
    QString body;
    Urgency urgency = Urgency::Normal;
};

} // namespace talo::programs
