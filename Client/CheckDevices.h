#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// Checks the pin of the reset, the serial line and the kernel's LED device. Changes nothing.
Findings CheckDevices(int resetGpio);

} // namespace OrvelClient
