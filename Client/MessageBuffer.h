#pragma once

#include "Message.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <string>

namespace OrvelClient
{

/// Messages between the thread that reads them and the one that shows them. The first never waits for the other: what finds no
/// room is dropped, and a message in its place says how many. What a person should know of the bus goes the same way, so that it
/// stands between the messages where it belongs.
class MessageBuffer
{
public:
    struct Entry
    {
        Message message;
        std::string notice; ///< for the person, instead of a message; empty: a message
    };

    explicit MessageBuffer(std::size_t most)
        : capacity(most)
    {
    }

    // These never wait.

    void Put(Message message);

    /// There is always room for these few.
    void PutNotice(std::string notice);

    /// No more will come, because of `reason` where there is one.
    void End(std::exception_ptr reason);

    /// Waits for the next entry until `time`; nothing when none came. Throws the reason behind the last entry.
    std::optional<Entry> Take(std::chrono::steady_clock::time_point time);

    /// Whether the last entry has been taken, and no more will come.
    bool HasEnded() const;

    bool IsEmpty() const;

private:
    void PutDropped();

    const std::size_t capacity;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<Entry> entries;
    uint64_t dropped = 0;                 // behind the last of the entries
    std::chrono::microseconds lastTime{}; // of the last message that came
    bool ended = false;
    std::exception_ptr failure;
};

} // namespace OrvelClient
