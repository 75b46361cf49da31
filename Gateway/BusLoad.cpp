#include "BusLoad.h"

#include <algorithm>
#include <utility>

namespace OrvelGateway
{

double BusLoad::Take(std::chrono::nanoseconds timeOnLine, Clock::time_point now)
{
    const std::chrono::duration<double> busy = timeOnLine - std::exchange(before, timeOnLine);
    const std::chrono::duration<double> all = now - std::exchange(since, now);
    return all.count() > 0 ? std::min(100.0, 100 * (busy / all)) : 0;
}

} // namespace OrvelGateway
