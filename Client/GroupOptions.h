#pragma once

#include "Bus.h"
#include "Command.h"
#include "GroupNames.h"
#include "KnownGroups.h"

#include <string>

namespace OrvelClient
{

/// The group that a command is about, as the person has written it.
struct GroupOptions
{
    /// The group is the first argument.
    void AddTo(Arguments::Parser& parser);

    std::string group; ///< an address or a name
    std::string type;  ///< empty: that of the group
    NamesFile names;
};

/// Throws Failure (NotUnderstood) when there is no such type.
const Knx::DatapointType& TypeFrom(const std::string& text);

/// The value behind the group: all arguments that follow it.
void AddValue(Arguments::Parser& parser, std::string& value);

/// The group as it turns out.
struct ChosenGroup
{
    /// Throws Failure: (NotUnderstood) for a group or a type that there is not, or as ReadNames does.
    explicit ChosenGroup(const GroupOptions& options);

    /// The value in a text. Throws Failure (NotUnderstood) that says what is allowed.
    Knx::GroupValue ValueFrom(const std::string& text) const;

    uint16_t address;
    const Knx::DatapointType* type; ///< null: nobody knows
    std::string exportedType;       ///< empty: none; otherwise it may be one that nobody knows
};

} // namespace OrvelClient
