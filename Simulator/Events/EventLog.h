#pragma once

#include "Event.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Simulator
{

/// What happened on the board, in order. Any thread.
class EventLog
{
public:
    using Clock = std::chrono::steady_clock;

    /// Given each event and the time since the log began. Called by the thread that the event happened on, one at a time.
    using Sink = std::function<void(std::chrono::microseconds since, const Event& event)>;

    explicit EventLog(Sink sink = {});

    void Add(const Event& event);

    /// How many events there have been.
    std::size_t Count() const;

    /// Waits until an event of this kind, or this very event, has happened, among those from number `from` on. Returns the
    /// number behind it, to go on from there; 0 when none came within `limit`.
    std::size_t Await(Event::Kind kind, std::size_t from, std::chrono::milliseconds limit) const;
    std::size_t Await(const Event& event, std::size_t from, std::chrono::milliseconds limit) const;

    /// All events.
    std::vector<Event> Events() const;

    /// For a person: one line for each.
    std::string Text() const;

private:
    template<typename Condition>
    std::size_t AwaitThat(const Condition& isWanted, std::size_t from, std::chrono::milliseconds limit) const;

    const Sink sink;
    const Clock::time_point began = Clock::now();
    mutable std::mutex mutex;
    mutable std::condition_variable added;
    std::deque<Event> kept;
    std::size_t dropped = 0; // events before the kept ones
};

} // namespace Simulator
