#pragma once

#include "Command.h"
#include "GroupNames.h"

#include <string>
#include <vector>

namespace OrvelClient
{

struct NamesOptions
{
    void AddTo(Arguments::Parser& parser);

    NamesFile file;
    std::string pattern; ///< empty: all
    bool json = false;
    bool complete = false; ///< for a shell
};

/// Those whose address is in the pattern if it is one of addresses, otherwise those whose name has it in it, whatever its case
/// in ASCII. Throws Failure (NotUnderstood).
std::vector<const Knx::NamedGroup*> Matching(const Knx::GroupAddresses& groups, const std::string& pattern);

/// What a shell can make of the begin of a word: names that begin with it; if there is none, the last levels of names, and
/// last of all addresses.
std::vector<std::string> Completions(const Knx::GroupAddresses& groups, const std::string& begin);

/// Lists the names of group addresses.
Command NamesCommand();

} // namespace OrvelClient
