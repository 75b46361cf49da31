#pragma once

#include <chrono>
#include <cstdint>
#include <random>

namespace Knx
{

/// When to send again after a router has said that it is busy. Each such datagram asks for a time; the more of them come,
/// the more a random time is added, so that those who waited do not all begin at once.
class BusyPause
{
public:
    using Clock = std::chrono::steady_clock;

    explicit BusyPause(unsigned seed);

    void OnBusy(std::chrono::milliseconds waitTime, Clock::time_point now);

    /// Nothing is sent before it.
    Clock::time_point End() const
    {
        return end;
    }

private:
    int64_t CountAt(Clock::time_point now) const;

    std::mt19937 random;
    Clock::time_point end;
    Clock::time_point lastBusy;
    Clock::time_point countFallsFrom;
    int64_t count = 0; // datagrams of late
};

} // namespace Knx
