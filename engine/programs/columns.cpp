#include "programs/columns.h"

#include <QVector>

#include <algorithm>
#include <cwchar>

namespace talo::programs
{

namespace
{

constexpr char kDots[] = "...";
constexpr int kDotColumns = 3;

int columnsOf(uint character)
{
    // Unknown to the locale: most likely one column.
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : columns;
}

// How many characters from `begin` on fit.
template <typename Iterator> int fitting(Iterator begin, Iterator end, int columns)
{
    int count = 0;
    for (Iterator at = begin; at != end; ++at, ++count) {
        columns -= columnsOf(*at);
        if (columns < 0)
            break;
    }
    return count;
}

} // namespace

int columnsOf(const QString &text)
{
    const QVector<uint> characters = text.toUcs4();
    int columns = 0;
    for (const uint character : characters)
        columns += columnsOf(character);
    return columns;
}

QString elidedMiddle(const QString &text, int columns)
{
    if (columnsOf(text) <= columns)
        return text;
    if (columns <= kDotColumns)
        return QString();
    const QVector<uint> characters = text.toUcs4();
    const int room = columns - kDotColumns;
    const int head = fitting(characters.begin(), characters.end(), room / 2);
    const int tail = fitting(characters.rbegin(), characters.rend(), room - room / 2);
    return QString::fromUcs4(characters.constData(), head) + QLatin1String(kDots) +
           QString::fromUcs4(characters.constData() + characters.size() - tail, tail);
}

} // namespace talo::programs
