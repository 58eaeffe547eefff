#include "service/updateconfiguration.h"

#include "files/configurationfile.h"

#include <cerrno>
#include <chrono>
#include <map>
#include <sstream>
#include <vector>

namespace talo::service
{

namespace
{

// A number of seconds of at most a day; false for anything else.
bool parseSeconds(const std::string &text, unsigned least, unsigned &seconds)
{
    constexpr unsigned kMost = 86400;
    if (text.empty() || text.size() > 5 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    seconds = static_cast<unsigned>(std::stoul(text));
    return seconds >= least && seconds <= kMost;
}

std::vector<std::string> wordsOf(const std::string &text)
{
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

// Empty, or what is wrong with it.
std::string takeFigure(const std::string &key, const std::string &value, UpdateSettings &settings)
{
    constexpr char kNoSeconds[] = "no number of seconds";
    unsigned seconds = 0;
    if (key == "Official") {
        settings.source.official = value != "no";
        return value == "yes" || value == "no" ? "" : "neither yes nor no";
    }
    if (key == "Timeout") {
        const bool valid = parseSeconds(value, 1, seconds);
        settings.source.patience = std::chrono::seconds(seconds);
        return valid ? "" : kNoSeconds;
    }
    if (key == "StartDelay") {
        const bool valid = parseSeconds(value, 0, seconds);
        settings.startDelay = seconds;
        return valid ? "" : kNoSeconds;
    }
    return "an unknown key";
}

std::string take(const files::ConfigurationGroup &keys, UpdateSettings &settings)
{
    update::SignatureSource &source = settings.source;
    const std::map<std::string, std::vector<std::string> *> lists{
        {"Mirror", &source.mirrors},
        {"PrivateMirror", &source.privateMirrors},
        {"Database", &source.databases}};
    const std::map<std::string, std::string *> texts{{"Proxy", &source.proxy},
                                                     {"ProxyUser", &source.proxyUser},
                                                     {"User", &source.user},
                                                     {"ProxyPassword", &source.proxyPassword},
                                                     {"WorkFolder", &source.workFolder},
                                                     {"Freshclam", &source.program}};
    for (const auto &[key, value] : keys) {
        if (const auto list = lists.find(key); list != lists.end()) {
            *list->second = wordsOf(value.text);
        } else if (const auto text = texts.find(key); text != texts.end()) {
            *text->second = value.text;
        } else {
            const std::string fault = takeFigure(key, value.text, settings);
            if (!fault.empty())
                return "line " + std::to_string(value.line) + " has " + fault;
        }
    }
    return faultOf(source);
}

} // namespace

std::optional<UpdateSettings> readUpdateSettings(const std::string &file, std::string &failure)
{
    UpdateSettings settings;
    const auto keys = files::readConfigurationGroup(file, "Update");
    if (!keys && keys.error().code == ENOENT)
        return settings;
    failure = keys ? take(*keys, settings) : keys.error().text;
    if (failure.empty())
        return settings;
    failure = "the configuration file " + file + " is of no use: " + failure;
    return std::nullopt;
}

} // namespace talo::service
