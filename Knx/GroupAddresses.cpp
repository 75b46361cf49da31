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
    std::vector<const NamedGroup*> exact;
    std::vector<const NamedGroup*> ending;
    for (const NamedGroup& group : groups)
    {
        if (!name.empty() && group.name == name)
        {
            exact.push_back(&group);
        }
        else if (!name.empty() && EndsWithLevels(group.name, name))
        {
            ending.push_back(&group);
        }
    }
    return exact.empty() ? ending : exact;
}

} // namespace Knx
