#pragma once

#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"

#include <optional>
#include <string>

/// A message queue as an application uses it: the daemon creates and removes it.
class Queue
{
public:
    using For = System::MessageQueue::For;

    /// Waits until the queue exists.
    Queue(const std::string& name, For access);

    /// False if there is no room.
    bool Send(const Knx::Bytes& message) const
    {
        return queue.Send(message);
    }

    /// Waits for the next message; nothing if none came for long.
    std::optional<Knx::Bytes> Receive() const;

    /// The next message, if there is one now.
    std::optional<Knx::Bytes> ReceiveNow() const
    {
        return queue.Receive();
    }

    long Pending() const
    {
        return queue.Pending();
    }

    static bool Exists(const std::string& name);

private:
    System::MessageQueue queue;
};
