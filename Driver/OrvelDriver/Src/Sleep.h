#pragma once

#include <chrono>

namespace OrvelDriver
{

/// Blocks the calling thread for the whole `duration`: a signal does not shorten it.
void Sleep(std::chrono::nanoseconds duration);

} // namespace OrvelDriver
