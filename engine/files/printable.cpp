#include "files/printable.h"

#include <cstdint>
#include <cstdio>

namespace talo::files
{

namespace
{

struct Character {
    std::uint32_t code = 0;
    std::size_t length = 0; // 0: the first byte begins no character
};

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0u) == 0x80u;
}

Character decode(std::string_view bytes)
{
    const auto first = static_cast<unsigned char>(bytes[0]);
    if (first < 0x80)
        return {first, 1};
    std::size_t length = 0;
    std::uint32_t code = 0;
    std::uint32_t least = 0; // a smaller code in so many bytes is overlong, and no UTF-8
    if ((first & 0xE0u) == 0xC0u) {
        length = 2, code = first & 0x1Fu, least = 0x80;
    } else if ((first & 0xF0u) == 0xE0u) {
        length = 3, code = first & 0x0Fu, least = 0x800;
    } else if ((first & 0xF8u) == 0xF0u) {
        length = 4, code = first & 0x07u, least = 0x10000;
    } else {
        return {};
    }
    if (bytes.size() < length)
        return {};
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (!isContinuation(byte))
            return {};
        code = (code << 6u) | (byte & 0x3Fu);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < least || code > 0x10FFFF || surrogate)
        return {};
    return {code, length};
}

struct Range {
    std::uint32_t first, last;
};

// What reorders or hides text, or is no character at all. Zero-width joiner and non-joiner stay:
// scripts and emoji cannot be written without them.
constexpr Range kMisleading[] = {
    {0x0080, 0x009F},   // C1 controls
    {0x00AD, 0x00AD},   // soft hyphen
    {0x061C, 0x061C},   // Arabic letter mark
    {0x180E, 0x180E},   // Mongolian vowel separator
    {0x200B, 0x200B},   // zero-width space
    {0x200E, 0x200F},   // left-to-right and right-to-left mark
    {0x2028, 0x202E},   // line and paragraph separator, bidirectional overrides
    {0x2060, 0x206F},   // invisible operators, bidirectional isolates
    {0xFDD0, 0xFDEF},   // no characters
    {0xFEFF, 0xFEFF},   // byte order mark
    {0xFFF9, 0xFFFB},   // interlinear annotation
    {0xFFFE, 0xFFFF},   // no characters
    {0xE0000, 0xE007F}, // tags
};

bool isMisleading(std::uint32_t code)
{
    for (const Range &range : kMisleading) {
        if (code >= range.first && code <= range.last)
            return true;
    }
    return false;
}

void appendHex(std::string &out, const char *format, std::uint32_t value)
{
    char text[16];
    std::snprintf(text, sizeof text, format, value);
    out += text;
}

bool appendEscape(std::string &out, std::uint32_t code)
{
    switch (code) {
    case '\\':
        out += "\\\\";
        return true;
    case '\n':
        out += "\\n";
        return true;
    case '\t':
        out += "\\t";
        return true;
    case '\r':
        out += "\\r";
        return true;
    default:
        break;
    }
    if (code < 0x20 || code == 0x7F) {
        appendHex(out, "\\x%02X", code);
        return true;
    }
    if (isMisleading(code)) {
        appendHex(out, "\\u{%X}", code);
        return true;
    }
    return false;
}

} // namespace

std::string printable(std::string_view bytes)
{
    std::string out;
    out.reserve(bytes.size());
    while (!bytes.empty()) {
        const Character character = decode(bytes);
        if (character.length == 0) {
            appendHex(out, "\\x%02X", static_cast<unsigned char>(bytes[0]));
            bytes.remove_prefix(1);
            continue;
        }
        if (!appendEscape(out, character.code))
            out.append(bytes.substr(0, character.length));
        bytes.remove_prefix(character.length);
    }
    return out;
}

std::string printable(std::string_view bytes, std::size_t most)
{
    constexpr std::string_view kGap = " \u2026 ";
    std::string text = printable(bytes);
    if (text.size() <= most)
        return text;
    const std::size_t half = most > kGap.size() ? (most - kGap.size()) / 2 : 0;
    std::size_t first = half;
    while (first > 0 && isContinuation(static_cast<unsigned char>(text[first])))
        --first;
    std::size_t last = text.size() - half;
    while (last < text.size() && isContinuation(static_cast<unsigned char>(text[last])))
        ++last;
    return text.replace(first, last - first, kGap);
}

} // namespace talo::files
