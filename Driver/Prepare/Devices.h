#pragma once

#include "User.h"

#include <string>

namespace OrvelPrepare
{

/// Loads the module of "/dev/uleds" where the device is missing, waits for it for 5 s, and makes it the user's alone: whoever
/// has it can make LEDs of any name. Throws Failure.
void GiveLedDevice(const User& user);

/// Makes the serial device the user's alone, too: whoever has it can read and send on the co-processor's line. A device that is
/// missing is the daemon's to tell. Throws Failure.
void GiveSerialDevice(const std::string& device, const User& user);

} // namespace OrvelPrepare
