// The words of the programs in the user's language.
#pragma once

#include <QCoreApplication>
#include <QString>

namespace talo::programs
{

inline QString inWords(const char *text)
{
    return QCoreApplication::translate("Programs", text);
}

} // namespace talo::programs
