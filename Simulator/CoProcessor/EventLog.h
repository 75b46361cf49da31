#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

namespace Simulator
{

/// What happened on the board, one line for each event, in order. Any thread.
class EventLog
{
public:
    using Clock = std::chrono::steady_clock;

    /// Given each event and the time since the log began. Called by the thread that the event happened on, one at a time.
    using Sink = std::function<void(std::chrono::microseconds since, const std::string& event)>;

    explicit EventLog(Sink sink = {});

    void Add(const std::string& event);

    /// How many events there have been.
    std::size_t Count() const;

    /// Waits until an event that begins with `start` has happened, among those from number `from` on. Returns the number
    /// behind it, to go on from there; 0 when none came within `limit`.
    std::size_t Await(const std::string& start, std::size_t from, std::chrono::milliseconds limit) const;

    /// The events from number `from` on, one a line.
    std::string Text(std::size_t from = 0) const;

private:
    const Sink sink;
    const Clock::time_point began = Clock::now();
    mutable std::mutex mutex;
    mutable std::condition_variable added;
    std::deque<std::string> kept;
    std::size_t dropped = 0; // events before the kept ones
};

} // namespace Simulator
