#pragma once

#include "Command.h"
#include "GroupPatterns.h"
#include "Message.h"

#include "Knx/IndividualAddress.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace OrvelClient
{

/// Chooses messages: all without options. Each kind of condition holds if one of its values does; a message passes if all kinds that were given
/// hold.
class Filter
{
public:
    void AddTo(Arguments::Parser& parser);

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
    std::set<std::string, std::less<>> services; // as a telegram names them
    std::vector<std::string> kinds;
    bool inverted = false;
};

} // namespace OrvelClient
