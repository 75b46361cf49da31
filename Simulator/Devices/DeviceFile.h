#pragma once

#include "Device.h"

#include "Knx/GroupAddresses.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Simulator
{

/// Tells in one line where a file of devices is wrong, and how: "line 3: a light has no 'dim'; it has state, switch".
class NotADeviceFile : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// What a file of devices says.
struct DeviceFile
{
    std::vector<std::unique_ptr<Device>> devices;
    std::vector<std::string> names;      ///< of the devices
    std::vector<Knx::NamedGroup> groups; ///< of the devices, with names and types; no address twice
};

/// Reads the text of such a file. Where it has an address, a name of `names` may stand instead. Throws NotADeviceFile; then
/// nothing of the file is used.
DeviceFile ReadDevices(const std::string& text, const Knx::GroupAddresses& names);

/// All groups that are known: those of the export, and behind them what a file of devices adds.
Knx::GroupAddresses WithGroupsOf(const DeviceFile& file, const Knx::GroupAddresses& names);

} // namespace Simulator
