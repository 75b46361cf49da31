#pragma once

#include "Knx/CemiMessage.h"
#include "Knx/Datapoint.h"
#include "Knx/GroupAddresses.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OrvelClient
{

/// What is known of groups: their names and the types of their values.
class KnownGroups
{
public:
    /// Nothing.
    KnownGroups() = default;

    /// What an export of the engineering tool says. A type that nobody knows is none.
    explicit KnownGroups(Knx::GroupAddresses exportedGroups);

    /// Empty when it is not known.
    const std::string& Name(uint16_t group) const;

    /// Null when it is not known.
    const Knx::DatapointType* Type(uint16_t group) const;

    const Knx::GroupAddresses& Addresses() const
    {
        return groups;
    }

private:
    Knx::GroupAddresses groups;
    std::vector<const Knx::DatapointType*> types; // of the groups, in their order
};

/// What a telegram to a group means, as far as it is known.
struct Meaning
{
    std::string name;                         ///< of the group
    const Knx::DatapointType* type = nullptr; ///< of its values
    std::optional<Knx::GroupValue> value;     ///< of that type
    std::string text;                         ///< of the value: "21.5 °C"
    bool isWrong = false;                     ///< a value, but none of that type
};

Meaning MeaningOf(const Knx::CemiMessage& cemi, const KnownGroups& groups);

/// Whether it is a telegram to a group: one whose data have no number and no connection.
bool IsGroupTelegram(const Knx::CemiMessage& cemi);

/// The value of a write or a response to a group.
std::optional<Knx::GroupValue> ValueOf(const Knx::CemiMessage& cemi);

} // namespace OrvelClient
