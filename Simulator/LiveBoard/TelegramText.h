#pragma once

#include "Knx/HexDigits.h"

#include <string>

namespace Simulator
{

/// A cEMI message in words, short enough for a line of a terminal: without the message code when it is `expected`, such as
/// "L_Data.ind ".
std::string TelegramText(const Knx::Bytes& cemi, const std::string& expected);

} // namespace Simulator
