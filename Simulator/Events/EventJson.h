#pragma once

#include "Event.h"

#include <chrono>
#include <string>

namespace Simulator
{

/// What a program reads, one object without a newline: {"time":0.25,"kind":"ledOn","led":3}. Others rely on the names, which
/// orvel-board(1) lists. `since` is the time since the board began.
std::string JsonOf(std::chrono::microseconds since, const Event& event);

} // namespace Simulator
