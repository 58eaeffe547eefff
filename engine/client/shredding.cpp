#include "client/shredding.h"

#include "files/configurationfile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <syslog.h>
#include <unistd.h>

namespace talo::client
{

namespace
{

constexpr char kMainFile[] = "/etc/taloantivirus/taloantivirus.conf";
constexpr char kShredderFile[] = "/etc/taloantivirus/shredder.conf";

bool parsePasses(const std::string &text, int &passes)
{
    int value = 0;
    const char *end = text.data() + text.size();
    const auto [at, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || at != end || value < 1 || value > kMostPasses)
        return false;
    passes = value;
    return true;
}

// Empty, or what is wrong with the file.
std::string take(const std::string &file, int &passes, bool &found)
{
    const auto keys = files::readConfigurationGroup(file, "Shredder");
    if (!keys)
        return keys.error().code == ENOENT ? std::string() : keys.error().text;
    std::string fault;
    for (const auto &[key, value] : *keys) {
        if (key != "Passes")
            fault = "the group Shredder has an unknown key";
        else if (parsePasses(value.text, passes))
            found = true;
        else
            fault = "Passes must be a number from 1 to " + std::to_string(kMostPasses);
    }
    return fault;
}

} // namespace

ShredConfiguration readShredConfiguration(const std::vector<std::string> &files)
{
    ShredConfiguration configuration;
    bool found = false;
    std::vector<std::string> faults;
    for (const std::string &file : files)
        if (const std::string fault = take(file, configuration.passes, found); !fault.empty())
            faults.emplace_back("The configuration file " + file)
                .append(" is of no use for shredding: ")
                .append(fault);
    // Where the number is known it matters little what else could not be read.
    if (!found)
        configuration.faults = std::move(faults);
    return configuration;
}

std::vector<std::string> productFolders()
{
    std::vector<std::string> folders{"/usr/local/taloantivirus", "/var/lib/taloantivirus",
                                     "/etc/taloantivirus"};
    const char *data = secure_getenv("XDG_DATA_HOME");
    const char *home = secure_getenv("HOME");
    if (data != nullptr && data[0] == '/')
        folders.push_back(std::string(data) + "/taloantivirus");
    else if (home != nullptr && home[0] == '/')
        folders.push_back(std::string(home) + "/.local/share/taloantivirus");
    return folders;
}

files::FileShredder configuredShredder(int leastPasses)
{
    ShredConfiguration configuration = readShredConfiguration({kMainFile, kShredderFile});
    configuration.passes = std::max(configuration.passes, leastPasses);
    for (const std::string &fault : configuration.faults)
        logShredding(fault + " Files are overwritten " + std::to_string(configuration.passes) +
                     " time(s).");
    return files::FileShredder({configuration.passes, productFolders()});
}

void logShredding(const std::string &text)
{
    syslog(LOG_USER | LOG_WARNING, "taloantivirus: shredder: %s", text.c_str());
}

} // namespace talo::client
