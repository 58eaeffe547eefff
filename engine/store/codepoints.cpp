#include "store/codepoints.h"

#include <array>

namespace talo::store
{

namespace
{

struct Form {
    unsigned char mask; // of the first byte's mark
    unsigned char mark;
    std::size_t length;
    char32_t least; // below it a shorter form exists
};

constexpr std::array<Form, 4> kForms{{
    {0x80, 0x00, 1, 0x0},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
}};

// Length of the sequence that the text begins with; 0 for none.
std::size_t sequence(std::string_view text)
{
    const auto byte = [text](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    for (const Form &form : kForms) {
        if ((byte(0) & form.mask) != form.mark)
            continue;
        if (text.size() < form.length)
            return 0;
        char32_t point = byte(0) & static_cast<unsigned char>(~form.mask);
        for (std::size_t at = 1; at < form.length; ++at) {
            if ((byte(at) & 0xC0) != 0x80)
                return 0;
            point = (point << 6) | (byte(at) & 0x3FU);
        }
        const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
        return point >= form.least && point <= 0x10FFFF && !surrogate ? form.length : 0;
    }
    return 0;
}

} // namespace

std::optional<std::size_t> codePoints(std::string_view text)
{
    std::size_t count = 0;
    for (; !text.empty(); ++count) {
        const std::size_t length = sequence(text);
        if (length == 0)
            return std::nullopt;
        text.remove_prefix(length);
    }
    return count;
}

} // namespace talo::store
