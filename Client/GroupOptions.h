#pragma once

#include "Bus.h"
#include "Command.h"
#include "GroupNames.h"
#include "KnownGroups.h"

#include <string>

namespace OrvelClient
{

class CommandLine;

/// The group that a command is about, as the person has written it.
struct GroupOptions
{
    /// Throws Failure (WrongOption).
    explicit GroupOptions(const CommandLine& line);

    std::string group; ///< an address or a name
    std::string type;  ///< empty: that of the group
    NamesFile names;
};

/// The options of the group's type and name, behind those that a command has itself.
std::vector<Option> WithGroupOptions(std::vector<Option> options);

/// Throws Failure (NotUnderstood) when there is no such type.
const Knx::DatapointType& TypeFrom(const std::string& text);

/// The value behind the group, from all arguments that follow it. Throws Failure (WrongOption) without one.
std::string TakeValue(const CommandLine& line);

/// The group as it turns out.
struct ChosenGroup
{
    /// Throws Failure: (NotUnderstood) for a group or a type that there is not, or as ReadNames does.
    explicit ChosenGroup(const GroupOptions& options);

    /// The value in a text. Throws Failure (NotUnderstood) that says what is allowed.
    Knx::GroupValue ValueFrom(const std::string& text) const;

    uint16_t address;
    const Knx::DatapointType* type; ///< null: nobody knows
};

} // namespace OrvelClient
