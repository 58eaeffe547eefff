#include "disinfect/office.h"

#include "disinfect/xmltags.h"

#include <functional>
#include <vector>

namespace talo::disinfect
{

namespace
{

// Names of parts compare without case.
std::string small(std::string_view text)
{
    std::string out(text);
    for (char &c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool contains(std::string_view text, std::string_view what)
{
    return text.find(what) != text.npos;
}

std::string attribute(const XmlTag &tag, const char *name)
{
    const auto found = tag.attributes.find(name);
    return found == tag.attributes.end() ? std::string() : found->second;
}

bool tellsOfMacros(std::string_view type)
{
    const std::string name = small(type);
    return contains(name, "vbaproject") || contains(name, "vbadata");
}

// "word/_rels/document.xml.rels" speaks for "word/document.xml", whose folder is "word/".
std::string folderOfSource(std::string_view relations)
{
    const std::size_t folder = relations.rfind("_rels/");
    return std::string(relations.substr(0, folder));
}

// The part that a relation leads to, as it would be named in the archive.
std::string resolved(const std::string &folder, std::string_view target)
{
    if (!target.empty() && target.front() == '/')
        return small(target.substr(1));
    std::vector<std::string> steps;
    const std::string path = folder + std::string(target);
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string step = path.substr(at, slash - at);
        if (step == "..") {
            if (!steps.empty())
                steps.pop_back();
        } else if (!step.empty() && step != ".") {
            steps.push_back(step);
        }
        at = slash + 1;
    }
    std::string out;
    for (const std::string &step : steps)
        out += (out.empty() ? "" : "/") + step;
    return small(out);
}

std::string without(std::string_view text, std::string_view element,
                    const std::function<bool(const XmlTag &)> &goes)
{
    std::string out;
    std::size_t from = 0;
    for (const XmlTag &tag : elements(text, element)) {
        if (!goes(tag))
            continue;
        out += text.substr(from, tag.begin - from);
        from = tag.end;
    }
    return out += text.substr(from);
}

} // namespace

bool isRelations(std::string_view entry)
{
    const std::size_t folder = entry.rfind('/');
    return folder != entry.npos && endsWith(small(entry.substr(0, folder + 1)), "_rels/") &&
           endsWith(small(entry), ".rels");
}

void OfficeDocument::noteContentTypes(std::string_view text)
{
    for (const XmlTag &tag : elements(text, "Override"))
        if (tellsOfMacros(attribute(tag, "ContentType")))
            macros_.insert(resolved({}, attribute(tag, "PartName")));
}

void OfficeDocument::noteRelations(std::string_view entry, std::string_view text)
{
    for (const XmlTag &tag : elements(text, "Relationship"))
        if (tellsOfMacros(attribute(tag, "Type")))
            macros_.insert(resolved(folderOfSource(entry), attribute(tag, "Target")));
}

bool OfficeDocument::isMacro(std::string_view entry) const
{
    const std::string name = small(entry);
    if (macros_.count(name) != 0)
        return true;
    const std::string file = name.substr(name.rfind('/') + 1); // npos + 1 is 0
    if (file.rfind("vbaproject", 0) == 0 || file == "vbadata.xml")
        return true;
    // The relations of a macro's own.
    if (!isRelations(entry))
        return false;
    const std::string source = folderOfSource(name) + file.substr(0, file.rfind(".rels"));
    return macros_.count(source) != 0;
}

std::string OfficeDocument::contentTypesWithout(std::string_view text) const
{
    const std::string left = without(text, "Override", [this](const XmlTag &tag) {
        return isMacro(resolved({}, attribute(tag, "PartName")));
    });
    // Parts of other kinds may share the ending whose default was that of macros.
    std::string out;
    std::size_t from = 0;
    for (const XmlTag &tag : elements(left, "Default")) {
        if (!tellsOfMacros(attribute(tag, "ContentType")))
            continue;
        out += left.substr(from, tag.begin - from);
        out += left.substr(tag.begin, left.find_first_of(" \t\r\n", tag.begin) - tag.begin);
        // A value that holds one kind of quote stood between two of the other.
        const std::string ending = attribute(tag, "Extension");
        const char quote = ending.find('"') == ending.npos ? '"' : '\'';
        ((out += " Extension=") += quote) += ending;
        (out += quote) += " ContentType=\"application/octet-stream\"/>";
        from = tag.end;
    }
    return out += left.substr(from);
}

std::string OfficeDocument::relationsWithout(std::string_view entry, std::string_view text) const
{
    const std::string folder = folderOfSource(entry);
    return without(text, "Relationship", [&](const XmlTag &tag) {
        return tellsOfMacros(attribute(tag, "Type")) ||
               (attribute(tag, "TargetMode") != "External" &&
                isMacro(resolved(folder, attribute(tag, "Target"))));
    });
}

} // namespace talo::disinfect
