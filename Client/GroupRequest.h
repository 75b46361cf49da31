#pragma once

#include "Knx/Datapoint.h"
#include "Knx/HexDigits.h"

#include <cstdint>

namespace OrvelClient
{

using Knx::Bytes;

/// What a telegram does with the value of a group: four bits of the APCI.
enum class GroupService : uint16_t
{
    Read = 0x000,
    Response = 0x040,
    Write = 0x080
};

constexpr uint16_t ServiceMask = 0x3C0;

/// The request that puts such a telegram onto the bus; of a read `value` is empty. Throws Failure (WrongLength) when the value
/// has no room in it.
Bytes GroupRequest(GroupService service, uint16_t group, const Knx::GroupValue& value = {});

} // namespace OrvelClient
