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
    void OnFrame(const Wire::Frame& frame, Clock::time_point now);

    /// To be called at NextTime() or later, when all that had come by `now` has been told. Returns what has to be sent
    /// now, if anything. The link goes down here when the co-processor was silent for too long: for five pings, which
    /// is a second, or for 25, which is 5 s, where a ping or its answer was late in the last minute: on a busy
    /// machine, or when the line was unplugged for less than that second.
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

    void NoteDelay(Clock::duration delay, Clock::time_point now);

    State state = State::Down;
    uint32_t number; // of the session
    Clock::time_point next;
    Clock::time_point deadline; // while starting
    bool heard = false;         // since the last ping
    int silentPeriods = 0;
    std::optional<Clock::time_point> asked; // the first ping that nothing has been heard since
    Clock::time_point busyUntil;
};

} // namespace Simulator
