// Characters of UTF-8 texts.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace talo::store
{

// How many code points the text has; nothing if it is not well-formed UTF-8: cut or overlong
// sequences, surrogates and what lies beyond U+10FFFF.
std::optional<std::size_t> codePoints(std::string_view text);

} // namespace talo::store
