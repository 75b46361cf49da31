#pragma once

#include "Knx/Datapoint.h"

#include <optional>

namespace Simulator
{

/// The value of a type of one bit.
inline Knx::GroupValue Bit(bool isSet)
{
    return {{static_cast<uint8_t>(isSet ? 1 : 0)}, true};
}

/// Nothing if it is a value of more bits.
inline std::optional<bool> BitIn(const Knx::GroupValue& value)
{
    const bool isBit = value.isSmall && value.bytes.front() <= 1;
    return isBit ? std::optional(value.bytes.front() == 1) : std::nullopt;
}

} // namespace Simulator
