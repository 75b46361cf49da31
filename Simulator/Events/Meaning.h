#pragma once

#include "Event.h"

#include "Knx/KnownGroups.h"

#include <string>

namespace Simulator
{

/// What a person reads of the event, in one line; behind a telegram to a group that is known, what it means:
/// "telegram from KNX: 29 00 bc e0 11 01 0a 03 01 00 81  # Lights/Ceiling: On".
std::string TextOf(const Event& event, const Knx::KnownGroups& groups);

} // namespace Simulator
