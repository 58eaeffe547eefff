#include "scan/actions.h"

namespace talo::scan
{

namespace
{

std::string otherNames(nlink_t count)
{
    if (count == 0)
        return {};
    return count == 1 ? "; one other name of this file is still there"
                      : "; " + std::to_string(count) + " other names of this file are still there";
}

std::string deleteFile(const Quarantine::Catch &file, Quarantine &quarantine, bool &done)
{
    const auto kept = quarantine.take(file);
    done = static_cast<bool>(kept);
    if (!done)
        return "could not be deleted: " + kept.error().text + "; still there";
    return "moved to quarantine (" + kept->id + ")" + otherNames(kept->otherNames);
}

std::string disinfect(const Quarantine::Catch &file, Quarantine &quarantine,
                      const Disinfection &disinfection, bool &done)
{
    const auto cleaned = disinfection.run(file, quarantine);
    done = static_cast<bool>(cleaned);
    if (!done)
        return "could not be disinfected: " + cleaned.error().text + "; still there";
    const std::string parts =
        cleaned->removed == 1 ? "1 part" : std::to_string(cleaned->removed) + " parts";
    return "disinfected: " + parts + " removed, the original is in quarantine (" +
           cleaned->original.id + ")" + otherNames(cleaned->original.otherNames);
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
                  Quarantine &quarantine, const Disinfection &disinfection)
{
    std::string failure;
    bool triedDisinfecting = false;
    bool triedDeleting = false;
    for (const Action action : {actions.first, actions.second}) {
        if (action == Action::Report)
            break;
        bool done = false;
        if (action != Action::Delete && !triedDisinfecting && disinfection.isPossible()) {
            triedDisinfecting = true;
            failure = disinfect(file, quarantine, disinfection, done);
            // Whoever stops a scan does not mean the second action instead.
            if (done || disinfection.isStopped())
                return failure;
        }
        if (action != Action::Disinfect && !triedDeleting) {
            triedDeleting = true;
            failure = deleteFile(file, quarantine, done);
            if (done)
                return failure;
        }
    }
    if (!failure.empty())
        return failure;
    const bool asked = actions.first == Action::Report || actions.second == Action::Report;
    return asked ? "reported only" : "could not be disinfected; still there";
}

} // namespace talo::scan
