#pragma once

#include "Knx/GroupAddress.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Knx
{

/// A group address as the engineering tool knows it. Texts are UTF-8 without control characters.
struct NamedGroup
{
    uint16_t address = 0;
    std::string name; ///< with the ranges that it is in: "Lights/Living room/Ceiling"; empty where it has none itself
    std::string type; ///< the datapoint type: "9.001", or "9" where only the main type is known; empty: unknown
    std::string description; ///< may be empty
};

/// The group addresses of an installation, to be found by address and by name.
class GroupAddresses
{
public:
    /// None.
    GroupAddresses() = default;

    /// `namedGroups` in any order, no address twice.
    explicit GroupAddresses(std::vector<NamedGroup> namedGroups,
                            GroupAddressStyle addressStyle = GroupAddressStyle::ThreeLevel);

    /// By address.
    const std::vector<NamedGroup>& All() const
    {
        return groups;
    }

    /// How this installation writes its addresses.
    GroupAddressStyle Style() const
    {
        return style;
    }

    /// Null when the address is not among them. Takes O(log n); the group lives as long as this object.
    const NamedGroup* At(uint16_t address) const;

    /// Those that a person may mean by the name: the ones with exactly this name, or if there is none, those whose name ends
    /// with it behind a slash. "Living room/Ceiling" and "Ceiling" both find "Lights/Living room/Ceiling". Case counts. More
    /// than one: the name is ambiguous, and these are the candidates. Takes O(n).
    std::vector<const NamedGroup*> Find(std::string_view name) const;

private:
    std::vector<NamedGroup> groups; // sorted by address
    GroupAddressStyle style = GroupAddressStyle::ThreeLevel;
};

/// The group that a person means: an address in any style, or a name as Find takes it. Digits and slashes are an address.
/// Throws NotAGroupAddress, for an ambiguous name with the candidates.
uint16_t GroupFrom(const std::string& text, const GroupAddresses& names);

} // namespace Knx
