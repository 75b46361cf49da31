#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// Checks the limits for message queues, and queues that are left over. For a moment it makes queues of other names,
/// which show better than any figure whether there is room for the daemon's.
Findings CheckQueues(const std::vector<std::string>& buttonQueues);

} // namespace OrvelClient
