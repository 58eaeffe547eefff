// File names for display: bytes in, unambiguous UTF-8 out.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace talo::files
{

// Valid UTF-8 stays as it is. Escaped are the backslash itself (\\), control characters (\n, \t,
// \r, \xNN), bytes that are no UTF-8 (\xNN), and characters that hide or reorder what a person
// reads: C1 controls, line separators, bidirectional overrides, invisible format characters
// (\u{NN}). Two different names never look the same for what was escaped.
std::string printable(std::string_view bytes);

// The same in at most `most` bytes, of which there must be some: of a longer text its beginning and
// its end, with " … " between them.
std::string printable(std::string_view bytes, std::size_t most);

} // namespace talo::files
