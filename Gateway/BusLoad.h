#pragma once

#include <chrono>

namespace OrvelGateway
{

/// How much of its time a line of 9600 bit/s is busy. The caller tells the time.
class BusLoad
{
public:
    using Clock = std::chrono::steady_clock;

    explicit BusLoad(Clock::time_point now)
        : since(now)
    {
    }

    /// Per cent of the time since this was last asked, or since the beginning. `timeOnLine` is that of all telegrams so far. At
    /// most 100: a telegram of this time may have begun before.
    double Take(std::chrono::nanoseconds timeOnLine, Clock::time_point now);

private:
    Clock::time_point since;
    std::chrono::nanoseconds before{};
};

} // namespace OrvelGateway
