#include "files/printable.h"

#include <gtest/gtest.h>

using talo::files::printable;

namespace
{

struct Row {
    std::string bytes;
    std::string shown;
};

const Row kRows[] = {
    {"", ""},
    {"/home/u/a file, #1.txt", "/home/u/a file, #1.txt"},
    {"Grüße 日本 \xF0\x9F\x98\x80", "Grüße 日本 \xF0\x9F\x98\x80"},
    {"a\\n", "a\\\\n"},
    {"a\nb\tc\rd", "a\\nb\\tc\\rd"},
    {std::string("a\0b", 3), "a\\x00b"},
    {"\x01\x1B[31m\x7F", "\\x01\\x1B[31m\\x7F"},
    {"\x80\xFF", "\\x80\\xFF"},
    {"\xC3", "\\xC3"},                            // cut short
    {"\xC3(", "\\xC3("},                          // not continued
    {"\xC0\xAF", "\\xC0\\xAF"},                   // overlong
    {"\xE0\x80\xAF", "\\xE0\\x80\\xAF"},          // overlong
    {"\xED\xA0\x80", "\\xED\\xA0\\x80"},          // surrogate
    {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"}, // beyond the last character
    {"\xC2\x85", "\\u{85}"},                      // C1
    {"\xE2\x80\xAEgpj.exe", "\\u{202E}gpj.exe"},
    {"\xE2\x80\xA8\xE2\x80\xA9", "\\u{2028}\\u{2029}"},
    {"\xE2\x81\xA6x\xE2\x81\xA9", "\\u{2066}x\\u{2069}"},
    {"\xE2\x80\x8B", "\\u{200B}"},
    {"\xEF\xBB\xBF", "\\u{FEFF}"},
    {"\xEF\xBF\xBF", "\\u{FFFF}"},
    {"\xF3\xA0\x81\x81", "\\u{E0041}"},
    {"\xE2\x80\x8D", "\xE2\x80\x8D"}, // zero-width joiner, part of scripts and emoji
};

} // namespace

TEST(Printable, showsEachNameUnambiguously)
{
    for (const Row &row : kRows)
        EXPECT_EQ(printable(row.bytes), row.shown);
}

TEST(Printable, shortensToABeginningAndAnEnd)
{
    EXPECT_EQ(printable("short", 20), "short");
    EXPECT_EQ(printable("01234567890123456789", 20), "01234567890123456789");
    EXPECT_EQ(printable("012345678901234567890", 20), "0123456 \u2026 4567890");
    for (std::size_t most = 5; most < 40; ++most)
        EXPECT_LE(printable(std::string(100, '\xFF'), most).size(), most);
    // No character is cut in two.
    std::string umlauts;
    for (int count = 0; count < 50; ++count)
        umlauts += "\u00E4";
    EXPECT_EQ(printable(umlauts, 20), "\u00E4\u00E4\u00E4 \u2026 \u00E4\u00E4\u00E4");
}

TEST(Printable, leavesNoControlWhateverTheBytes)
{
    for (unsigned first = 0; first < 256; ++first) {
        for (unsigned second = 0; second < 256; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
            for (const unsigned char shown : printable({bytes, 2}))
                ASSERT_TRUE(shown >= 0x20 && shown != 0x7F) << first << ' ' << second;
        }
    }
}
