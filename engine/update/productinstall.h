// Installing a checked package, by a program that goes on when the service is restarted by it.
#pragma once

#include "files/result.h"

#include <optional>
#include <string>
#include <vector>

namespace talo::update
{

struct Installation {
    enum class State { Running, Installed, Failed };
    State state = State::Running;
    std::string version;
    std::string problem; // what the package tool said, for Failed
};

struct Installer {
    std::string helper;               // talo-install-update
    std::vector<std::string> command; // the package tool; the package's path is added
};

// The system's package tool, without questions.
std::vector<std::string> packageTool();

// Has the helper install the package and write down what became of it in `folder`. Returns as soon
// as the helper is on its own; empty, or why it could not begin.
std::string beginInstallation(const Installer &installer, const std::string &folder,
                              const std::string &version, const std::string &package);

// What became of the last installation; nothing where there was none. One whose helper was killed
// counts as failed.
std::optional<Installation> lastInstallation(const std::string &folder);

// Where the package that was installed last is kept, to be put back if the next one fails.
std::string keptPackage(const std::string &folder);

// For the helper: holds the folder for as long as the result lives; not ok while another does.
files::Result<int> holdInstallation(const std::string &folder);
std::string writeInstallation(const std::string &folder, const Installation &installation);

} // namespace talo::update
