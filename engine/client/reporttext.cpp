#include "client/reporttext.h"

#include <sstream>

namespace talo::client
{

bool isReportKey(const std::string &text)
{
    const std::string form = "dddd-dd-dd dd:dd:dd";
    if (text.size() != form.size())
        return false;
    for (std::size_t at = 0; at < form.size(); ++at) {
        const bool digit = text[at] >= '0' && text[at] <= '9';
        if (form[at] == 'd' ? !digit : text[at] != form[at])
            return false;
    }
    return true;
}

std::string keyIn(const std::string &reportText)
{
    const std::string label = "Report:";
    std::istringstream lines(reportText);
    std::string line;
    while (std::getline(lines, line)) {
        if (line.compare(0, label.size(), label) != 0)
            continue;
        const std::size_t first = line.find_first_not_of(" \t", label.size());
        const std::size_t last = line.find_last_not_of(" \t\r");
        if (first == std::string::npos)
            continue;
        std::string key = line.substr(first, last + 1 - first);
        if (isReportKey(key))
            return key;
    }
    return std::string();
}

std::string listField(const std::string &text)
{
    std::string field = text;
    for (char &letter : field)
        if (letter == ',' || letter == '#' || static_cast<unsigned char>(letter) < ' ' ||
            letter == '\x7f')
            letter = ' ';
    return field;
}

} // namespace talo::client
