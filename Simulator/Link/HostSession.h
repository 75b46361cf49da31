#pragma once

#include "Frame.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace Simulator
{

/// The host's part of the conversation with the co-processor: what to say when, and whether the link is up. It does no
/// input or output of its own and is used by one thread.
class HostSession
{
public:
    using Clock = std::chrono::steady_clock;

    HostSession();

    /// Begins a new session; whatever was before is over. The co-processor has the time `limit` to answer.
    void Start(Clock::time_point now, Clock::duration limit);

    /// Ends the session: the other end is known to be gone.
    void Stop();

    /// Tells of a valid frame from the co-processor.
    void OnFrame(const Wire::Frame& frame);

    /// To be called at NextTime() or later. Returns what has to be sent now, if anything. The link goes down here when
    /// the co-processor was silent for too long.
    std::optional<Wire::Frame> OnTime(Clock::time_point now);

    /// When OnTime has something to do, nothing while there is no session.
    std::optional<Clock::time_point> NextTime() const;

    /// The co-processor has not answered yet, but still has time to.
    bool IsStarting() const
    {
        return state == State::Starting;
    }

    bool IsUp() const
    {
        return state == State::Up;
    }

private:
    enum class State
    {
        Down,
        Starting,
        Up,
    };

    State state = State::Down;
    uint32_t number; // of the session
    Clock::time_point next;
    Clock::time_point deadline; // while starting
    bool heard = false;         // since the last ping
    int silentPeriods = 0;
};

} // namespace Simulator
