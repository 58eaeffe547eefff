#include "service/paths.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace talo::service
{

namespace
{

// The folder above the one that this program lies in.
std::string installation()
{
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0 || length == static_cast<ssize_t>(path.size()))
        return std::string();
    std::string folder(path.data(), static_cast<std::size_t>(length));
    for (int level = 0; level < 2; ++level)
        folder.erase(folder.find_last_of('/'));
    return folder;
}

std::string absolute(const char *variable)
{
    const char *value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? value : "";
}

std::string homeFolder()
{
    std::string home = absolute("HOME");
    if (home.empty()) {
        std::array<char, 16384> buffer{};
        passwd entry{};
        passwd *found = nullptr;
        if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
            found != nullptr && found->pw_dir != nullptr)
            home = found->pw_dir;
    }
    return home;
}

} // namespace

std::string defaultStateFolder()
{
    if (geteuid() == 0)
        return "/var/lib/taloantivirus";
    std::string data = absolute("XDG_DATA_HOME");
    if (data.empty()) {
        const std::string home = homeFolder();
        if (home.empty())
            return std::string();
        data = home + "/.local/share";
    }
    return data + "/taloantivirus";
}

namespace
{

// Beside the service's own program where nothing is installed.
std::string helperProgram(const std::string &name)
{
    const std::string installed = installation() + "/libexec/" + name;
    return access(installed.c_str(), X_OK) == 0 ? installed : installation() + "/bin/" + name;
}

} // namespace

std::string defaultWorkerProgram()
{
    return helperProgram("talo-scan-worker");
}

std::string disinfectorProgram()
{
    return helperProgram("talo-disinfect");
}

std::string updateInstaller()
{
    return helperProgram("talo-install-update");
}

std::string builtInSignatures()
{
    return installation() + "/signatures";
}

std::string defaultConfigurationFile()
{
    return "/etc/taloantivirus/taloantivirus.conf";
}

std::string updatedSignatures(const std::string &stateFolder)
{
    return stateFolder + "/signatures";
}

std::string systemSignatures()
{
    return "/var/lib/clamav";
}

std::string quarantineFolder(const std::string &stateFolder)
{
    return stateFolder + "/quarantine";
}

} // namespace talo::service
