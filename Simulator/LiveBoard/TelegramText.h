#pragma once

#include "Knx/KnownGroups.h"

#include <string>

namespace Simulator
{

/// A cEMI message in words, short enough for a line of a terminal: without the message code when it is `expected`, such as
/// "L_Data.ind ". Of a known group it has the value and the name instead of what nearly every telegram has.
std::string TelegramText(const Knx::Bytes& message, const std::string& expected, const Knx::KnownGroups& groups);

} // namespace Simulator
