#pragma once

#include "Board.h"
#include "EventLog.h"

#include <atomic>
#include <functional>

namespace Simulator
{

/// Plays an application and the world around the board once: a telegram each way, an LED, the button, a link that is lost
/// and recovers. Each step is an event. A daemon whose LEDs did not come is started anew first, which `restart` asks for.
/// Blocks until all is shown, a step did not happen (which is told too), or `cancelled` becomes true.
void Demonstrate(Board& board, EventLog& events, const std::atomic<bool>& cancelled,
                 const std::function<void()>& restart);

} // namespace Simulator
