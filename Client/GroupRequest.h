#pragma once

#include "Knx/GroupService.h"

#include <cstdint>

namespace OrvelClient
{

using Knx::Bytes;
using Knx::GroupService;
using Knx::ServiceMask;

/// The request that puts such a telegram onto the bus; of a read `value` is empty. Throws Failure (WrongLength) when the value
/// has no room in it.
Bytes GroupRequest(GroupService service, uint16_t group, const Knx::GroupValue& value = {});

} // namespace OrvelClient
