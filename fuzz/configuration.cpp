// The administrator's configuration file.
#include "target.h"

#include "files/configurationfile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    const fuzz::MemoryFile file(fuzz::textOf(data, size));
    for (const char *group : {"Mail", "ProgramUpdate", ""}) {
        const auto keys = files::readConfigurationGroup(file.path(), group);
        if (!keys)
            continue;
        for (const auto &[key, value] : *keys) {
            fuzz::require(value.line > 0);
            fuzz::require(key.find('\n') == std::string::npos);
            fuzz::require(value.text.find('\n') == std::string::npos);
        }
    }
    return 0;
}
