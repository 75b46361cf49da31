#include "Knx/BusyPause.h"

#include <algorithm>

namespace Knx
{

namespace
{

using namespace std::chrono_literals;

// As all participants have agreed on.
constexpr auto SameMoment = 10ms;    // several routers that are busy at once count as one
constexpr auto RandomStep = 50ms;    // the longest random time, for each datagram of late
constexpr auto RememberStep = 100ms; // they are remembered for so long each, from the end of the pause
constexpr auto ForgetStep = 5ms;     // and then one after the other forgotten

} // namespace

BusyPause::BusyPause(unsigned seed)
    : random(seed)
{
}

void BusyPause::OnBusy(std::chrono::milliseconds waitTime, Clock::time_point now)
{
    count = CountAt(now);
    if (count == 0 || now - lastBusy >= SameMoment)
    {
        ++count;
    }
    lastBusy = now;
    std::uniform_int_distribution<int64_t> upTo(0, count * RandomStep.count());
    end = std::max(end, now + waitTime + std::chrono::milliseconds(upTo(random)));
    countFallsFrom = end + count * RememberStep;
}

int64_t BusyPause::CountAt(Clock::time_point now) const
{
    const auto forgotten = now > countFallsFrom ? (now - countFallsFrom) / ForgetStep : 0;
    return forgotten >= count ? 0 : count - forgotten;
}

} // namespace Knx
