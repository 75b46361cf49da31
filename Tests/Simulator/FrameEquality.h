#pragma once

#include "Frame.h"

namespace Simulator::Wire
{

inline bool operator==(const Frame& one, const Frame& other)
{
    return one.kind == other.kind && one.topic == other.topic && one.payload == other.payload;
}

} // namespace Simulator::Wire
