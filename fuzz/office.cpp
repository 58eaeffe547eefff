// The lists of an office document's parts.
#include "target.h"

#include "disinfect/office.h"
#include "disinfect/xmltags.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const std::string_view text = fuzz::textOf(data, size);
    for (const disinfect::XmlTag &tag : disinfect::elements(text, "Relationship"))
        fuzz::require(tag.begin < tag.end && tag.end <= text.size());
    disinfect::OfficeDocument document;
    document.noteContentTypes(text);
    document.noteRelations("word/_rels/document.xml.rels", text);
    fuzz::require(document.contentTypesWithout(text).size() <= text.size());
    fuzz::require(document.relationsWithout("word/_rels/document.xml.rels", text).size() <=
                  text.size());
    return 0;
}
