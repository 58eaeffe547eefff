// The lists of an office document's parts.
#include "target.h"

#include "disinfect/archive.h"
#include "disinfect/office.h"
#include "disinfect/xmltags.h"

namespace
{

constexpr std::string_view kRelations = "word/_rels/document.xml.rels";

std::vector<std::string> endingsIn(std::string_view types)
{
    std::vector<std::string> endings;
    for (talo::disinfect::XmlTag &tag : talo::disinfect::elements(types, "Default"))
        endings.push_back(tag.attributes["Extension"]);
    return endings;
}

void useAll(std::string_view text)
{
    using namespace talo;
    for (const disinfect::XmlTag &tag : disinfect::elements(text, "Relationship"))
        fuzz::require(tag.begin < tag.end && tag.end <= text.size());
    disinfect::OfficeDocument document;
    document.noteContentTypes(text);
    document.noteRelations(kRelations, text);
    const std::string types = document.contentTypesWithout(text);
    const std::string relations = document.relationsWithout(kRelations, text);
    const std::vector<std::string> endings = endingsIn(text);
    try { // What is left can be read, and nothing more goes from it.
        fuzz::require(endingsIn(types) == endings);
        fuzz::require(document.contentTypesWithout(types) == types);
        fuzz::require(document.relationsWithout(kRelations, relations) == relations);
    } catch (const disinfect::Refusal &) {
        fuzz::require(false);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        useAll(talo::fuzz::textOf(data, size));
    } catch (const talo::disinfect::Refusal &) { // is how it says that a text is none
    }
    return 0;
}
