#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// Checks whether a daemon runs already, as far as this user may look into the processes of this machine.
Findings CheckRunning();

} // namespace OrvelClient
