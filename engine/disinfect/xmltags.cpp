#include "disinfect/xmltags.h"

#include "disinfect/archive.h"

#include <utility>

namespace talo::disinfect
{

namespace
{

constexpr std::string_view kSpace = " \t\r\n";

[[noreturn]] void unreadable()
{
    throw Refusal("the document's lists of its parts cannot be read");
}

std::size_t skipPast(std::string_view text, std::string_view what, std::size_t from)
{
    const std::size_t found = text.find(what, from);
    if (found == text.npos)
        unreadable();
    return found + what.size();
}

std::string_view localName(std::string_view name)
{
    return name.substr(name.find(':') + 1); // npos + 1 is 0
}

// Reads the tag whose `<` stands at `at`; gives what follows it, and whether it ended in "/>".
std::pair<std::size_t, bool> readTag(std::string_view text, std::size_t at, XmlTag &tag)
{
    std::size_t place = text.find_first_of(" \t\r\n/>", at + 1);
    if (place == text.npos)
        unreadable();
    tag.begin = at;
    tag.name = localName(text.substr(at + 1, place - at - 1));
    for (;;) {
        place = text.find_first_not_of(kSpace, place);
        if (place == text.npos)
            unreadable();
        if (text[place] == '>')
            return {place + 1, false};
        if (text.compare(place, 2, "/>") == 0)
            return {place + 2, true};
        if (text[place] == '/')
            unreadable();
        const std::size_t equals = text.find('=', place);
        if (equals == text.npos)
            unreadable();
        std::string_view key = text.substr(place, equals - place);
        const std::size_t length = key.find_first_of(kSpace);
        key = key.substr(0, length);
        const std::size_t quote = text.find_first_not_of(kSpace, equals + 1);
        if (quote == text.npos || (text[quote] != '"' && text[quote] != '\''))
            unreadable();
        const std::size_t close = text.find(text[quote], quote + 1);
        if (close == text.npos || key.empty())
            unreadable();
        const std::string_view value = text.substr(quote + 1, close - quote - 1);
        if (value.find('<') != value.npos)
            unreadable();
        tag.attributes[std::string(key)] = value;
        place = close + 1;
    }
}

} // namespace

std::vector<XmlTag> elements(std::string_view text, std::string_view name)
{
    // UTF-16, and declarations that give entities a meaning.
    if (text.find('\0') != text.npos || text.find("<!DOCTYPE") != text.npos ||
        text.find("<![CDATA[") != text.npos)
        unreadable();
    std::vector<XmlTag> found;
    for (std::size_t at = text.find('<'); at != text.npos; at = text.find('<', at)) {
        if (text.compare(at, 4, "<!--") == 0) {
            at = skipPast(text, "-->", at + 4);
        } else if (text.compare(at, 2, "<?") == 0) {
            at = skipPast(text, "?>", at + 2);
        } else if (text.compare(at, 2, "</") == 0) {
            at = skipPast(text, ">", at);
        } else {
            XmlTag tag;
            const auto [behind, empty] = readTag(text, at, tag);
            tag.end = behind;
            if (tag.name == name) {
                // These elements hold nothing, but may be written with an end tag.
                if (!empty) {
                    const std::size_t close = text.find_first_not_of(kSpace, behind);
                    if (close == text.npos || text.compare(close, 2, "</") != 0)
                        unreadable();
                    tag.end = skipPast(text, ">", close);
                }
                found.push_back(tag);
            }
            at = tag.end;
        }
    }
    return found;
}

} // namespace talo::disinfect
