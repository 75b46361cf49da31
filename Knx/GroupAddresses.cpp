#include "Knx/GroupAddresses.h"

#include <algorithm>
#include <utility>

namespace Knx
{

namespace
{

bool EndsWithLevels(std::string_view name, std::string_view levels)
{
    return name.size() > levels.size() && name.substr(name.size() - levels.size()) == levels &&
           name[name.size() - levels.size() - 1] == '/';
}

std::string Candidates(const std::vector<const NamedGroup*>& groups, GroupAddressStyle style)
{
    constexpr std::size_t shown = 5;
    std::string text;
    for (std::size_t index = 0; index < groups.size() && index < shown; ++index)
    {
        text += (index == 0 ? "" : ", ") + GroupAddress(groups[index]->address, style) + " " + groups[index]->name;
    }
    return text + (groups.size() > shown ? " and " + std::to_string(groups.size() - shown) + " more" : "");
}

} // namespace

GroupAddresses::GroupAddresses(std::vector<NamedGroup> namedGroups, GroupAddressStyle addressStyle)
    : groups(std::move(namedGroups))
    , style(addressStyle)
{
    std::sort(groups.begin(), groups.end(),
              [](const NamedGroup& one, const NamedGroup& other) { return one.address < other.address; });
}

const NamedGroup* GroupAddresses::At(uint16_t address) const
{
    const auto found =
        std::lower_bound(groups.begin(), groups.end(), address,
                         [](const NamedGroup& group, uint16_t wanted) { return group.address < wanted; });
    return found != groups.end() && found->address == address ? &*found : nullptr;
}

std::vector<const NamedGroup*> GroupAddresses::Find(std::string_view name) const
{
    if (name.empty())
    {
        return {};
    }
    std::vector<const NamedGroup*> exact;
    std::vector<const NamedGroup*> ending;
    for (const NamedGroup& group : groups)
    {
        if (group.name == name)
        {
            exact.push_back(&group);
        }
        else if (EndsWithLevels(group.name, name))
        {
            ending.push_back(&group);
        }
    }
    return exact.empty() ? ending : exact;
}

uint16_t GroupFrom(const std::string& text, const GroupAddresses& names)
{
    if (LooksLikeGroupAddress(text))
    {
        return ParseGroupAddress(text);
    }
    if (names.All().empty())
    {
        throw NotAGroupAddress("'" + text +
                               "' is no group address such as 1/2/3, 1/515 or 2563, and there are no names");
    }
    const std::vector<const NamedGroup*> found = names.Find(text);
    if (found.empty())
    {
        throw NotAGroupAddress("no group has the name '" + text + "'; 'orvelctl names' lists them");
    }
    if (found.size() > 1)
    {
        throw NotAGroupAddress("'" + text + "' is ambiguous: " + Candidates(found, names.Style()));
    }
    return found.front()->address;
}

} // namespace Knx
