// Just enough of XML to take elements out of the lists that hold an office document together,
// leaving every other byte as it is.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace talo::disinfect
{

// A start tag, `<prefix:Name a="b"/>`.
struct XmlTag {
    std::size_t begin = 0; // of its place in the text
    std::size_t end = 0;   // just behind the whole element, its end tag included
    std::string name;      // without a prefix
    std::map<std::string, std::string> attributes;
};

// The elements called `name`, in their order. Throws Refusal where the text is not the plain XML
// that office programs write: what cannot be read for certain must not be changed.
std::vector<XmlTag> elements(std::string_view text, std::string_view name);

} // namespace talo::disinfect
