#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// The pin of the reset, the serial line and the kernel's LED device. Nothing is changed.
Findings CheckDevices(int resetGpio);

} // namespace OrvelClient
