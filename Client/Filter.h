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

/// Chooses messages: all without options. Conditions in front of --not choose; those behind it choose what of that is left
/// out. Each kind of condition holds if one of its values does; conditions choose a message if all kinds that were given hold.
class Filter
{
public:
    void AddTo(Arguments::Parser& parser);

    /// Before Passes: takes the names of groups for what they mean. Throws Failure (NotUnderstood).
    void Resolve(const Knx::GroupAddresses& named);

    bool Passes(const Message& message) const;

private:
    struct Conditions
    {
        bool IsEmpty() const;
        bool Choose(const Message& message) const;

        GroupPatterns groups;
        std::vector<Knx::IndividualAddressPattern> sources;
        std::set<std::string, std::less<>> services; // as a telegram names them
        std::vector<std::string> kinds;
    };

    // Where the command line is.
    Conditions& Present()
    {
        return leftOut.empty() ? chosen : leftOut.back();
    }

    Conditions chosen;
    std::vector<Conditions> leftOut; // behind each --not
};

} // namespace OrvelClient
