#pragma once

#include "DeviceFile.h"

#include "Knx/GroupAddresses.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace Simulator
{

/// Tells in one line which file is not understood, and where: "house.xml: line 12, column 5: ..."
class BrokenFile : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The names of group addresses from the engineering tool's export: of `file` if the person has named one, otherwise from
/// where all programs look for it; none if nothing is there, or the name of the file is empty. Throws BrokenFile, or
/// std::runtime_error for a file that cannot be read.
Knx::GroupAddresses ReadNames(const std::optional<std::string>& file);

/// The devices of a file, if the person has named one. Throws as ReadNames does.
DeviceFile ReadDeviceFile(const std::optional<std::string>& file, const Knx::GroupAddresses& names);

} // namespace Simulator
