#include "update/signaturesource.h"

#include "update/databasefile.h"

#include <algorithm>
#include <array>
#include <set>

namespace talo::update
{

namespace
{

constexpr std::array<const char *, 3> kOfficial{"main", "daily", "bytecode"};
constexpr unsigned kAttempts = 2;

// A value is one word of a line that freshclam reads: nothing in it may end that word.
bool isWord(const std::string &text)
{
    return !text.empty() && text.size() <= 1024 &&
           std::all_of(text.begin(), text.end(), [](char letter) {
               return letter > 0x20 && letter < 0x7F && letter != '"' && letter != '\\';
           });
}

bool isHost(const std::string &text)
{
    return isWord(text) && text.find('/') == std::string::npos;
}

std::string schemeOf(const std::string &address)
{
    const std::size_t end = address.find("://");
    return end == std::string::npos ? std::string() : address.substr(0, end);
}

std::string fileOf(const std::string &address)
{
    return address.substr(address.find_last_of('/') + 1);
}

bool isDatabaseAddress(const std::string &address)
{
    static const std::set<std::string> kSchemes{"http", "https", "ftp", "ftps"};
    const std::string file = fileOf(address);
    return isWord(address) && kSchemes.count(schemeOf(address)) != 0 && file.size() <= 200 &&
           file[0] != '.' && isDatabase(file);
}

// "http://host:port", in the parts that freshclam wants.
struct Proxy {
    std::string server;
    std::string port;
};

bool split(const std::string &address, Proxy &proxy)
{
    static const std::set<std::string> kSchemes{"http",    "https",  "socks4",
                                                "socks4a", "socks5", "socks5h"};
    const std::size_t colon = address.find_last_of(':');
    proxy = {address.substr(0, colon), address.substr(colon + 1)};
    const std::string host =
        proxy.server.substr(std::min(proxy.server.size(), schemeOf(address).size() + 3));
    return isWord(address) && kSchemes.count(schemeOf(address)) != 0 && isHost(host) &&
           !proxy.port.empty() && proxy.port.size() <= 5 &&
           proxy.port.find_first_not_of("0123456789") == std::string::npos;
}

bool allOf(const std::vector<std::string> &texts, bool (*fits)(const std::string &))
{
    return std::all_of(texts.begin(), texts.end(), fits);
}

} // namespace

std::string faultOf(const SignatureSource &source)
{
    Proxy proxy;
    if (!allOf(source.mirrors, isHost) || !allOf(source.privateMirrors, isHost))
        return "a mirror must be the name of a host";
    if (!allOf(source.databases, isDatabaseAddress))
        return "Database must be the http or ftp address of a database file such as "
               "https://signatures.example.org/own.ndb";
    if (!source.proxy.empty() && !split(source.proxy, proxy))
        return "Proxy must be http://host:port";
    if ((!source.proxyUser.empty() && !isWord(source.proxyUser)) ||
        (!source.proxyPassword.empty() && !isWord(source.proxyPassword)))
        return "ProxyUser and ProxyPassword must be without blanks, quotes and backslashes";
    for (const std::string *path : {&source.program, &source.workFolder})
        if (!isWord(*path) || path->front() != '/')
            return "Freshclam and WorkFolder must be absolute paths without blanks";
    return std::string();
}

bool comesFrom(const SignatureSource &source, const std::string &file)
{
    if (isOfficial(file))
        return source.official &&
               std::find(kOfficial.begin(), kOfficial.end(), nameOf(file)) != kOfficial.end();
    return std::any_of(source.databases.begin(), source.databases.end(),
                       [&](const std::string &address) { return fileOf(address) == file; });
}

unsigned databasesOf(const SignatureSource &source)
{
    return static_cast<unsigned>(source.databases.size() +
                                 (source.official ? kOfficial.size() : 0));
}

std::string freshclamConfiguration(const SignatureSource &source, const std::string &folder)
{
    std::string text;
    const auto set = [&text](const char *key, const std::string &value) {
        text.append(key).append(1, ' ').append(value).append(1, '\n');
    };
    const std::string patience = std::to_string(source.patience.count());
    set("DatabaseDirectory", folder);
    set("ConnectTimeout", patience);
    set("ReceiveTimeout", patience);
    set("MaxAttempts", std::to_string(kAttempts));
    set("CompressLocalDatabase", "no");
    // A set is tried out in the scan workers' sandbox, as a whole, before it is used.
    set("TestDatabases", "no");
    if (source.mirrors.empty())
        set("DatabaseMirror", "database.clamav.net");
    for (const std::string &mirror : source.mirrors)
        set("DatabaseMirror", mirror);
    for (const std::string &mirror : source.privateMirrors)
        set("PrivateMirror", mirror);
    for (const std::string &address : source.databases)
        set("DatabaseCustomURL", address);
    Proxy proxy;
    if (!source.proxy.empty() && split(source.proxy, proxy)) {
        set("HTTPProxyServer", proxy.server);
        set("HTTPProxyPort", proxy.port);
        if (!source.proxyUser.empty())
            set("HTTPProxyUsername", source.proxyUser);
        if (!source.proxyPassword.empty())
            set("HTTPProxyPassword", source.proxyPassword);
    }
    return text;
}

std::vector<std::string> freshclamArguments(const SignatureSource &source,
                                            const std::string &configurationFile)
{
    std::vector<std::string> arguments{source.program, "--config-file=" + configurationFile,
                                       "--stdout", "--show-progress"};
    if (!source.official) {
        arguments.emplace_back("--update-db=custom");
        arguments.emplace_back("--no-dns");
    }
    return arguments;
}

} // namespace talo::update
