#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// The limits for message queues, and queues that are left over. For a moment, queues of other names are made, which tells
/// better than any figure whether there is room for those of the daemon.
Findings CheckQueues(const std::vector<std::string>& buttonQueues);

} // namespace OrvelClient
