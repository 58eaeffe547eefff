// Where signatures are fetched from, and how.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace talo::update
{

struct SignatureSource {
    bool official = true;                    // the databases that ClamAV's makers publish
    std::vector<std::string> mirrors;        // hosts to have them from; empty: the official ones
    std::vector<std::string> privateMirrors; // hosts of the administrator's own, instead
    std::vector<std::string> databases;      // addresses of further database files
    std::string proxy;                       // "http://host:port"
    std::string proxyUser;
    std::string proxyPassword;
    std::string program = "/usr/bin/freshclam";
    std::string user;                    // whom root has it run as; empty: the first there is of
                                         // "talo-update" and "nobody"
    std::string workFolder = "/var/tmp"; // where it may write
    std::chrono::seconds patience{60};   // with a server that sends nothing
};

// Empty, or what is wrong with it.
std::string faultOf(const SignatureSource &source);

// Whether a database file of this name can come from the source.
bool comesFrom(const SignatureSource &source, const std::string &file);

// How many databases a run has to look after.
unsigned databasesOf(const SignatureSource &source);

// What freshclam is told, in a file and on its command line.
std::string freshclamConfiguration(const SignatureSource &source, const std::string &folder);
std::vector<std::string> freshclamArguments(const SignatureSource &source,
                                            const std::string &configurationFile);

} // namespace talo::update
