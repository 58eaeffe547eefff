// The one place that knows where things are.
//
// What belongs to the program lies beside it, so that it runs from the build tree as it runs when
// installed.
#pragma once

#include <string>

namespace talo::service
{

// "/var/lib/taloantivirus" for root, a folder among the user's own data for anybody else; empty
// when there is none.
std::string defaultStateFolder();

std::string defaultWorkerProgram();
std::string disinfectorProgram();
std::string updateInstaller();

std::string builtInSignatures();

// What the administrator has set, for every instance of the service on this machine.
std::string defaultConfigurationFile();

// Where updates keep the signatures that they have brought.
std::string updatedSignatures(const std::string &stateFolder);

// The distribution's ClamAV databases.
std::string systemSignatures();

std::string quarantineFolder(const std::string &stateFolder);

} // namespace talo::service
