#pragma once

#include "Traffic.h"

#include <cstdint>

/// Starts so many daemons on a board of its own, one after the other, some with a component that fails, and sends each SIGINT
/// twice at random moments from its exec on. Throws std::runtime_error for what does not end as it has to.
Figures RunStarts(uint32_t seed, long starts);
