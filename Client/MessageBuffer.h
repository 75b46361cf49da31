#pragma once

#include "Message.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>

namespace OrvelClient
{

/// Messages between the thread that reads them and the one that shows them. The first never waits for the other: what finds no
/// room is dropped, and a message in its place says how many.
class MessageBuffer
{
public:
    explicit MessageBuffer(std::size_t most)
        : capacity(most)
    {
    }

    /// Never waits.
    void Put(Message message);

    /// No more will come, because of `reason` where there is one.
    void End(std::exception_ptr reason);

    /// Waits for the next message until `time`; nothing when none came. Throws the reason behind the last message.
    std::optional<Message> Take(std::chrono::steady_clock::time_point time);

    /// Whether the last message has been taken, and no more will come.
    bool HasEnded() const;

    bool IsEmpty() const;

private:
    void PutDropped(std::chrono::microseconds time);

    const std::size_t capacity;
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::deque<Message> messages;
    uint64_t dropped = 0; // behind the last of the messages
    bool ended = false;
    std::exception_ptr failure;
};

} // namespace OrvelClient
