#pragma once

#include "Traffic.h"

#include <cstdint>

/// Starts so many daemons on a board of its own, one after the other, some with a component that fails. Sends each
/// SIGINT twice at random moments after its exec. Throws std::runtime_error if one does not end as it must.
Figures RunStarts(uint32_t seed, long starts);
