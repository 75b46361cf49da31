#pragma once

#include <cstdint>
#include <string>

/// What somebody wants to see of the gateway once, as a table. Each has a board of its own.
namespace Scenes
{

/// `orvelctl monitor` beside an application that sends, while the bus sends as much: both get all of it, in order.
std::string Monitor(long telegrams);

/// The daemon is stopped and started anew under 32 programs: what each of them is told, in order, with times.
std::string Restart();

} // namespace Scenes
