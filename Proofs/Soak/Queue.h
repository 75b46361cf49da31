#pragma once

#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"

#include <optional>
#include <string>

/// A queue as an application uses it.
class Queue
{
public:
    using For = System::MessageQueue::For;

    /// Waits until the daemon has made it.
    Queue(std::string queueName, For queueAccess);

    /// Closes and opens the queue, as an application that ends and starts again. If the queue was unlinked, the
    /// application keeps what it has.
    void OpenAgain();

    /// False if there is no room.
    bool Send(const Knx::Bytes& message) const
    {
        return queue.Send(message);
    }

    /// The next message, if there is one.
    std::optional<Knx::Bytes> Receive() const
    {
        return queue.Receive();
    }

    long Pending() const
    {
        return queue.Pending();
    }

private:
    const std::string name;
    const For access;
    System::MessageQueue queue;
};
