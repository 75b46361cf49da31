#pragma once

#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"

#include <sys/types.h>

#include <chrono>
#include <string>

/// A queue that the test makes in the daemon's place. Messages are hexadecimal digits.
class MadeQueue
{
public:
    /// Throws std::system_error, also if the queue exists.
    explicit MadeQueue(const std::string& name, long messages = 14, long size = 261, mode_t mode = 0644)
        : queue(name, System::MessageQueue::For::Both, messages, size, mode)
    {
    }

    void Put(const Knx::Bytes& message) const;

    /// A frame, with its size byte.
    void PutFrame(const std::string& frame) const;

    /// The next message; "nothing" if there is none.
    std::string Take() const;

    /// Waits for the next message; "nothing" if none came for long.
    std::string AwaitMessage() const;

    long Waiting() const
    {
        return queue.Pending();
    }

private:
    System::OwnMessageQueue queue;
};
