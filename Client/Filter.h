#pragma once

#include "Command.h"
#include "GroupPatterns.h"
#include "Message.h"

#include "Knx/IndividualAddress.h"

#include <string>
#include <vector>

namespace OrvelClient
{

class CommandLine;

/// Chooses messages. Each kind of condition holds if one of its values does; a message passes if all kinds that were given
/// hold.
class Filter
{
public:
    /// All messages.
    Filter() = default;

    /// Throws Failure (WrongOption).
    explicit Filter(const CommandLine& line);

    /// Before Passes: takes the names of groups for what they mean. Throws Failure (NotUnderstood).
    void Resolve(const Knx::GroupAddresses& named)
    {
        groups.Resolve(named);
    }

    bool Passes(const Message& message) const;

private:
    bool Matches(const Message& message) const;

    GroupPatterns groups;
    std::vector<Knx::IndividualAddressPattern> sources;
    std::vector<std::string> services; // as a telegram names them
    std::vector<std::string> kinds;
    bool inverted = false;
};

/// The options of a filter, behind those that a command has itself.
std::vector<Option> WithFilterOptions(std::vector<Option> options);

} // namespace OrvelClient
