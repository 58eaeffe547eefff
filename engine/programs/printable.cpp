#include "programs/printable.h"

#include <QVector>

namespace talo::programs
{

namespace
{

enum class Layout { OneLine, Lines };

QString escaped(const QString &text, Layout layout)
{
    QString result;
    result.reserve(text.size());
    const QVector<uint> characters = text.toUcs4();
    for (const uint character : characters) {
        const bool kept =
            QChar::isPrint(character) ||
            (layout == Layout::Lines && (character == QLatin1Char('\n') || character == '\t'));
        if (!kept)
            result += QStringLiteral("\\u{%1}").arg(character, 0, 16);
        else
            result += QString::fromUcs4(&character, 1);
    }
    return result;
}

} // namespace

QString printable(const QString &text)
{
    return escaped(text, Layout::OneLine);
}

QString printableLines(const QString &text)
{
    return escaped(text, Layout::Lines);
}

} // namespace talo::programs
