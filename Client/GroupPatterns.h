#pragma once

#include "Command.h"

#include "Knx/GroupAddress.h"
#include "Knx/GroupAddresses.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OrvelClient
{

/// The groups of --group: addresses, patterns of them, and names.
class GroupPatterns
{
public:
    /// --group, with its text for the help.
    void AddTo(Arguments::Parser& parser, const std::string& text);

    /// What --group has. Throws Knx::NotAGroupAddress.
    void Add(const std::string& text);

    /// Before those below: takes the texts for what they mean, which may be names. Throws Failure (NotUnderstood, WrongOption).
    void Resolve(const Knx::GroupAddresses& groups);

    /// Whether nothing was given.
    bool IsEmpty() const
    {
        return patterns.empty() && texts.empty();
    }

    bool Contain(uint16_t address) const;

    /// All of them, those of the first pattern first.
    std::vector<uint16_t> Addresses() const;

private:
    std::vector<Knx::GroupAddressPattern> patterns;
    std::vector<std::string> texts; // until they are resolved
};

} // namespace OrvelClient
