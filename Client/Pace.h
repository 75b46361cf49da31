#pragma once

#include <chrono>

namespace OrvelClient
{

/// Says when the next one of many may go, so that no more than so many go in a second.
class Pace
{
public:
    using Clock = std::chrono::steady_clock;

    // Of a second.
    static constexpr double Slowest = 0.001;
    static constexpr double Fastest = 100000;

    explicit Pace(double rate)
        : interval(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / rate)))
    {
    }

    /// For one that is ready since then: the first goes at once, each later one an interval after the one before was due. One
    /// that was not ready in time is not caught up with.
    Clock::time_point Due(Clock::time_point ready)
    {
        const Clock::time_point due = ready > next ? ready : next;
        next = due + interval;
        return due;
    }

private:
    Clock::duration interval;
    Clock::time_point next = Clock::time_point::min();
};

} // namespace OrvelClient
