#pragma once

#include <cstddef>

namespace UnitTests
{

/// How often this thread has asked for memory with `new`, calls from inside of shared libraries not counted.
std::size_t Allocations();

} // namespace UnitTests
