#include "update/databasefile.h"

#include <array>
#include <fstream>
#include <set>

namespace talo::update
{

namespace
{

const std::set<std::string> &databaseKinds()
{
    static const std::set<std::string> kinds{"cvd", "cld", "cud", "hdb",  "hdu", "hsb", "hsu",
                                             "mdb", "mdu", "msb", "msu",  "ndb", "ndu", "ldb",
                                             "ldu", "db",  "cdb", "yara", "yar", "cbc"};
    return kinds;
}

std::string kindOf(const std::string &file)
{
    const std::size_t dot = file.find_last_of('.');
    return dot == std::string::npos ? std::string() : file.substr(dot + 1);
}

} // namespace

bool isDatabase(const std::string &file)
{
    return databaseKinds().count(kindOf(file)) != 0;
}

bool isOfficial(const std::string &file)
{
    return kindOf(file) == "cvd" || kindOf(file) == "cld";
}

std::string nameOf(const std::string &file)
{
    return file.substr(0, file.find('.'));
}

// "ClamAV-VDB:date:version:…", whose date has its own colon-free form.
std::uint64_t officialVersion(const std::string &path)
{
    constexpr std::size_t kMagic = 11;
    std::array<char, 512> header{};
    std::ifstream file(path, std::ios::binary);
    file.read(header.data(), header.size());
    const std::string text(header.data(), static_cast<std::size_t>(file.gcount()));
    if (text.compare(0, kMagic, "ClamAV-VDB:") != 0)
        return 0;
    const std::size_t date = text.find(':', kMagic);
    const std::size_t end = date == std::string::npos ? date : text.find(':', date + 1);
    if (end == std::string::npos)
        return 0;
    const std::string version = text.substr(date + 1, end - date - 1);
    const bool digits = !version.empty() && version.size() <= 10 &&
                        version.find_first_not_of("0123456789") == std::string::npos;
    return digits ? std::stoull(version) : 0;
}

} // namespace talo::update
