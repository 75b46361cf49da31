#include "GroupPatterns.h"

#include "CommandLine.h"
#include "GroupNames.h"

#include <algorithm>

namespace OrvelClient
{

GroupPatterns::GroupPatterns(const CommandLine& line)
{
    for (const std::string& text : line.TextsOr({}, "group"))
    {
        if (text.find_first_not_of("0123456789/*-") != std::string::npos)
        {
            names.push_back(text);
            continue;
        }
        try
        {
            patterns.emplace_back(text);
        }
        catch (const Knx::NotAGroupAddress& problem)
        {
            Reject(std::string("--group: ") + problem.what());
        }
    }
}

void GroupPatterns::Resolve(const Knx::GroupAddresses& groups)
{
    for (const std::string& name : names)
    {
        patterns.emplace_back(Knx::GroupAddress(GroupFrom(name, groups)));
    }
    names.clear();
}

bool GroupPatterns::Contain(uint16_t address) const
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [address](const Knx::GroupAddressPattern& pattern) { return pattern.Contains(address); });
}

std::vector<uint16_t> GroupPatterns::Addresses() const
{
    std::vector<uint16_t> all;
    for (const Knx::GroupAddressPattern& pattern : patterns)
    {
        const std::vector<uint16_t> addresses = pattern.Addresses();
        all.insert(all.end(), addresses.begin(), addresses.end());
    }
    return all;
}

} // namespace OrvelClient
