#include "programs/usage.h"

#include "programs/words.h"

#include <QStringList>

namespace talo::programs
{

namespace
{

constexpr int kColumn = 30; // where it begins what a line does
constexpr int kMargin = 2;

} // namespace

QString usageLine(const UsageLine &line)
{
    QString text = QString(kMargin, QLatin1Char(' ')) + QLatin1String(line.typed);
    if (text.size() < kColumn)
        text = text.leftJustified(kColumn);
    else
        text += QLatin1Char('\n') + QString(kColumn, QLatin1Char(' '));
    const QString indented = QLatin1Char('\n') + QString(kColumn, QLatin1Char(' '));
    return text + Programs::tr(line.does).split(QLatin1Char('\n')).join(indented) +
           QLatin1Char('\n');
}

} // namespace talo::programs
