#pragma once

#include "Knx/HexDigits.h"

#include <mqueue.h>

#include <optional>
#include <string>

namespace OrvelClient
{

using Knx::Bytes;

/// A message queue of the daemon, as an application opens it: it is not created, and never waited on.
class Queue
{
public:
    enum class For
    {
        Reading,
        Writing
    };

    /// Whether a queue can have this name: it begins with a slash and has no other.
    static bool IsName(const std::string& text);

    /// Throws Failure: NotThere, NotAllowed, Failed.
    Queue(std::string queueName, For access);
    ~Queue();

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// For poll.
    int Descriptor() const
    {
        return queue;
    }

    /// True when the daemon has stopped or was started anew: this queue is then one that nobody else has any more.
    bool IsRemoved() const;

    /// The next message; nothing when there is none. Throws Failure.
    std::optional<Bytes> Receive();

    /// False when there is no room. Throws Failure.
    bool Send(const Bytes& message);

private:
    std::string name;
    mqd_t queue;
};

} // namespace OrvelClient
