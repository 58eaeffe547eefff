// The words of the programs in the user's language.
#pragma once

#include <QCoreApplication>

namespace talo::programs
{

// For all that is not a QObject with a tr() of its own. By this name the tools that collect texts
// for translators know it too.
class Programs
{
    Q_DECLARE_TR_FUNCTIONS(Programs)
};

} // namespace talo::programs
