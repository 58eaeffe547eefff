#include "guard/firewall.h"

#include "guard/firewallrules.h"

#include <sstream>

namespace talo::guard
{

namespace
{

std::string tableName()
{
    return std::string("inet ") + kFirewallTable;
}

bool has(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// Of the table's rules nothing is said; they have just been replaced.
bool onlyOurs(const std::string &listing)
{
    int chains = 0;
    int others = 0;
    std::istringstream lines(listing);
    for (std::string line; std::getline(lines, line);) {
        chains += line.rfind("\tchain ", 0) == 0 ? 1 : 0;
        for (const char *const object : {"set ", "map ", "flowtable ", "quota ", "limit "})
            others += line.rfind(std::string("\t") + object, 0) == 0 ? 1 : 0;
    }
    return chains == 1 && others == 0;
}

} // namespace

std::string Firewall::raise()
{
    // A table that others have given a different shape, or more than is ours, goes as a whole.
    std::string failure = put(std::string());
    if (!failure.empty())
        failure = put(noFirewallRules());
    return failure;
}

std::string Firewall::put(const std::string &before)
{
    auto done = nft_.run(before + firewallRules(Older::GoOn));
    if (!done)
        done = nft_.run(before + firewallRules(Older::MayHang));
    if (!done)
        return "the kernel does not take the firewall's rules: " + done.error().text;
    const auto now = listing();
    if (!now)
        return "cannot read the firewall's rules back: " + now.error().text;
    if (!onlyOurs(*now))
        return "the firewall's rules were changed by others as soon as they stood";
    asRaised_ = *now;
    return {};
}

std::string Firewall::lower()
{
    const auto done = nft_.run(noFirewallRules());
    if (!done)
        return "cannot take the firewall's rules away: " + done.error().text;
    return {};
}

files::Result<std::string> Firewall::listing()
{
    const auto tables = nft_.run("list tables inet");
    if (!tables)
        return tables.error();
    if (!has(*tables, "table " + tableName() + "\n"))
        return std::string();
    return nft_.run("list table " + tableName());
}

Firewall::State Firewall::state()
{
    const auto now = listing();
    if (!now)
        return {Standing::Unknown, now.error().text};
    if (now->empty())
        return {Standing::Absent, {}};
    return {*now == asRaised_ ? Standing::Whole : Standing::Altered, {}};
}

std::vector<std::string> Firewall::others()
{
    std::vector<std::string> names;
    const auto chains = nft_.run("list chains");
    if (!chains)
        return names;
    if (has(*chains, "table inet firewalld ") || has(*chains, "table ip firewalld "))
        names.emplace_back("firewalld");
    if (has(*chains, "chain ufw-user-input ") || has(*chains, "chain ufw6-user-input "))
        names.emplace_back("ufw");
    return names;
}

} // namespace talo::guard
