#pragma once

#include "Knx/CemiMessage.h"
#include "Knx/Datapoint.h"
#include "Knx/GroupAddresses.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Knx
{

/// What is known of groups: their names and the types of their values.
class KnownGroups
{
public:
    /// Nothing.
    KnownGroups() = default;

    /// What an export of the engineering tool says. A type that nobody knows is none.
    explicit KnownGroups(GroupAddresses exportedGroups);

    /// Empty when it is not known.
    const std::string& Name(uint16_t group) const;

    /// Null when it is not known.
    const DatapointType* Type(uint16_t group) const;

    const GroupAddresses& Addresses() const
    {
        return groups;
    }

private:
    GroupAddresses groups;
    std::vector<const DatapointType*> types; // of the groups, in their order
};

/// What a telegram to a group means, as far as it is known.
struct Meaning
{
    std::string name;                    ///< of the group
    const DatapointType* type = nullptr; ///< of its values
    std::optional<GroupValue> value;     ///< of that type
    std::string text;                    ///< of the value: "21.5 °C"
    bool isWrong = false;                ///< a value, but none of that type
};

Meaning MeaningOf(const CemiMessage& cemi, const KnownGroups& groups);

} // namespace Knx
