#pragma once

#include <cstdint>
#include <vector>

namespace UnitTests
{

using Bytes = std::vector<uint8_t>;

} // namespace UnitTests
