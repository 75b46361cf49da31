#pragma once

#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"

#include <optional>
#include <string>

namespace OrvelClient
{

using Knx::Bytes;

/// A message queue of the daemon, as an application opens it: it is not created, and never waited on.
class Queue
{
public:
    using For = System::MessageQueue::For;

    /// Whether a queue can have this name: it begins with a slash and has no other.
    static bool IsName(const std::string& text);

    /// Throws Failure: NotThere, NotAllowed, Failed.
    Queue(std::string queueName, For access);

    /// For poll.
    int Descriptor() const
    {
        return queue.Descriptor();
    }

    /// True when the daemon has stopped or was started anew: this queue is then one that nobody else has any more.
    bool IsRemoved() const
    {
        return queue.IsRemoved();
    }

    /// The next message; nothing when there is none. Throws Failure.
    std::optional<Bytes> Receive() const;

    /// False when there is no room. Throws Failure.
    bool Send(const Bytes& message) const;

private:
    std::string name;
    System::MessageQueue queue;
};

} // namespace OrvelClient
