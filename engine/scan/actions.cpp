#include "scan/actions.h"

namespace talo::scan
{

namespace
{

std::string deleteFile(const Quarantine::Catch &file, Quarantine &quarantine, bool &done)
{
    const auto kept = quarantine.take(file);
    done = static_cast<bool>(kept);
    if (!done)
        return "could not be deleted: " + kept.error().text + "; still there";
    std::string text = "moved to quarantine (" + kept->id + ")";
    if (kept->otherNames == 1)
        text += "; one other name of this file is still there";
    else if (kept->otherNames > 1)
        text +=
            "; " + std::to_string(kept->otherNames) + " other names of this file are still there";
    return text;
}

} // namespace

ThreatClass classOf(std::string_view path, std::string_view threatName)
{
    if (path.find("/.") != path.npos)
        return ThreatClass::Hidden;
    constexpr std::string_view kHeuristic = "Heuristics.";
    if (threatName.substr(0, kHeuristic.size()) == kHeuristic ||
        threatName.find("PUA.") != threatName.npos)
        return ThreatClass::Suspected;
    return ThreatClass::Infected;
}

const ClassActions &actionsFor(ThreatClass threatClass, const ScanSettings &settings)
{
    switch (threatClass) {
    case ThreatClass::Hidden:
        return settings.hidden;
    case ThreatClass::Suspected:
        return settings.suspected;
    case ThreatClass::Infected:
        break;
    }
    return settings.infected;
}

std::string actOn(const Quarantine::Catch &file, const ClassActions &actions,
                  Quarantine &quarantine)
{
    std::string failure;
    for (const Action action : {actions.first, actions.second}) {
        switch (action) {
        case Action::Disinfect:
            break;
        case Action::DisinfectOrDelete:
        case Action::Delete: {
            if (!failure.empty())
                break; // failed already
            bool done = false;
            std::string text = deleteFile(file, quarantine, done);
            if (done)
                return text;
            failure = std::move(text);
            break;
        }
        case Action::Report:
            return failure.empty() ? "reported only" : failure;
        }
    }
    return failure.empty() ? "could not be disinfected; still there" : failure;
}

} // namespace talo::scan
