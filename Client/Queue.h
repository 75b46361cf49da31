#pragma once

#include "Channel.h"

#include "System/MessageQueue.h"

#include <optional>

#include <string>

namespace OrvelClient
{

/// A message queue of the daemon, as an application opens it: it is not created, and never waited on.
class Queue : public Channel
{
public:
    using For = System::MessageQueue::For;

    /// Whether a queue can have this name: it begins with a slash and has no other.
    static bool IsName(const std::string& text);

    /// Throws Failure: NotThere, NotAllowed, Failed.
    Queue(std::string queueName, For access);

    int Descriptor() const override
    {
        return queue.Descriptor();
    }

    /// True when the daemon has stopped or was started anew: this queue is then one that nobody else has any more.
    bool IsRemoved() const override
    {
        return queue.IsRemoved();
    }

    std::optional<Bytes> Receive() override;
    bool Send(const Bytes& message) override;

private:
    std::string name;
    System::MessageQueue queue;
};

} // namespace OrvelClient
