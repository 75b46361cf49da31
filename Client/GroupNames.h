#pragma once

#include "Command.h"

#include "Knx/GroupAddressExport.h"

#include <cstdint>
#include <string>

namespace OrvelClient
{

// How commands come to the names of group addresses: each takes them by the same option, and where an address stands a name
// may stand instead.

/// The file with the names: that of --names, else that of the environment's ORVEL_NAMES, else the usual one.
struct NamesFile
{
    void AddTo(Arguments::Parser& parser);

    std::string name;          ///< empty: there are to be none
    bool mayBeMissing = false; ///< nobody has named it
};

/// Throws Failure: for a file that is not to be read, or (NotUnderstood) is broken. A file that may be missing and is leaves
/// no groups.
Knx::GroupAddressExport ReadNames(const NamesFile& file);

/// The group that `text` means: an address in any style, or a name as Knx::GroupAddresses::Find takes it. Digits and slashes
/// are an address. Throws Failure (NotUnderstood), for an ambiguous name with the candidates.
uint16_t AddressFrom(const std::string& text, const Knx::GroupAddresses& names);

} // namespace OrvelClient
