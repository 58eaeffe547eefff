// What holds an office document of the zip kind together, and how macros are taken out of it so
// that it stays a valid document.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace talo::disinfect
{

// The entry that makes a zip archive such a document.
constexpr std::string_view kContentTypes = "[Content_Types].xml";

bool isRelations(std::string_view entry);

class OfficeDocument
{
public:
    // First everything that says what the parts are is noted...
    void noteContentTypes(std::string_view text);
    void noteRelations(std::string_view entry, std::string_view text);
    // ...then is known what is a macro, whatever its name, and what the lists become without it.
    bool isMacro(std::string_view entry) const;
    std::string contentTypesWithout(std::string_view text) const;
    std::string relationsWithout(std::string_view entry, std::string_view text) const;

private:
    std::set<std::string> macros_; // names of parts, in small letters, without a leading slash
};

} // namespace talo::disinfect
