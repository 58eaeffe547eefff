#include "store/exclusion.h"

#include <algorithm>

namespace talo::store
{

namespace
{

constexpr std::size_t kLongest = 4096;

struct Character {
    std::size_t length = 0; // 0: not UTF-8
    char32_t code = 0;
};

// The first character of a text that is not empty; overlong forms and surrogates are none.
Character decode(std::string_view text)
{
    const auto byte = [&text](std::size_t at) {
        return static_cast<char32_t>(static_cast<unsigned char>(text[at]));
    };
    const char32_t lead = byte(0);
    if (lead < 0x80)
        return {1, lead};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return {};
    char32_t code = lead & (0x7Fu >> length);
    for (std::size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0u) != 0x80)
            return {};
        code = (code << 6u) | (byte(at) & 0x3Fu);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return overlong || surrogate || code > 0x10FFFF ? Character{} : Character{length, code};
}

bool isControl(char32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

bool isPlainText(std::string_view text)
{
    while (!text.empty()) {
        const Character next = decode(text);
        if (next.length == 0 || isControl(next.code) || next.code == U',')
            return false;
        text.remove_prefix(next.length);
    }
    return true;
}

std::string plainPath(std::string_view path)
{
    std::string plain;
    while (!path.empty()) {
        path.remove_prefix(1); // the slash
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(name.size());
        if (!name.empty() && name != ".")
            plain.append(1, '/').append(name);
    }
    return plain.empty() ? "/" : plain;
}

} // namespace

ExclusionCode fitness(const Exclusion &entry)
{
    const std::string &text = entry.text;
    if (entry.kind == ExclusionKind::Extension && text.find_first_of(". ") != std::string::npos)
        return ExclusionCode::DotOrSpace;
    if (text.empty() || text.size() > kLongest || !isPlainText(text))
        return ExclusionCode::Unfit;
    if (entry.kind == ExclusionKind::Location && text.front() != '/')
        return ExclusionCode::Unfit;
    return ExclusionCode::Done;
}

std::string patternOf(const Exclusion &entry)
{
    if (entry.kind == ExclusionKind::Location)
        return plainPath(entry.text);
    std::string folded = entry.text;
    std::transform(folded.begin(), folded.end(), folded.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return folded;
}

} // namespace talo::store
