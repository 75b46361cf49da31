#pragma once

#include "BenchKit/Await.h"

#include "Knx/HexDigits.h"
#include "System/MessageQueue.h"

#include <chrono>
#include <optional>
#include <string>

/// A message queue as an application uses it: the daemon creates and removes it.
class Queue
{
public:
    using For = System::MessageQueue::For;

    /// Waits until the queue exists. Throws std::system_error if it does not for long.
    Queue(const std::string& name, For queueAccess, std::chrono::milliseconds patience = Patience);

    /// Closes and opens the queue, as an application that ends and starts again. If the queue was unlinked, the
    /// application keeps what it has.
    void OpenAgain();

    /// False if there is no room.
    bool Send(const Knx::Bytes& message) const
    {
        return queue.Send(message);
    }

    /// Waits for the next message; nothing if none came for long.
    std::optional<Knx::Bytes> Receive() const
    {
        return queue.ReceiveWithin(Patience);
    }

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
    const For access;
    System::MessageQueue queue;
};
