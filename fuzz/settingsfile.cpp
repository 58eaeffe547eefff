// A file of settings that somebody wants to import.
#include "target.h"

#include "store/settingsfile.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    using namespace talo;
    store::SettingsFile content;
    if (!store::parseSettingsFile(std::string(fuzz::textOf(data, size)), content).empty())
        return 0;
    // What was accepted is written out as a file that says the same.
    const std::string text = store::renderSettingsFile(content);
    store::SettingsFile again;
    fuzz::require(store::parseSettingsFile(text, again).empty());
    fuzz::require(again.exclusions == content.exclusions && again.schedules == content.schedules);
    fuzz::require(store::renderSettingsFile(again) == text);
    return 0;
}
