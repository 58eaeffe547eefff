#!/usr/bin/env bash
# The library exports the declared operations and nothing else: exports.sh LIBRARY EXPECTED
set -euo pipefail
export LC_ALL=C

# Standard types by the names that people write.
readable() {
    sed -E -e 's/ >/>/g' \
        -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char>>/string/g' \
        -e 's/std::__cxx11::list<string, std::allocator<string>>/list<string>/g' \
        -e 's/std::map<string, list<string>, std::less<string>, std::allocator<std::pair<string const, list<string>>>>/map<string, list<string>>/g'
}

diff -u "$2" <(nm -DC --defined-only "$1" | cut -d' ' -f3- | readable | sort)
