#pragma once

#include "Channel.h"

#include <mqueue.h>

#include <string>

namespace OrvelClient
{

/// A message queue of the daemon, as an application opens it: it is not created, and never waited on.
class Queue : public Channel
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
    ~Queue() override;

    int Descriptor() const override
    {
        return queue;
    }

    /// True when the daemon has stopped or was started anew: this queue is then one that nobody else has any more.
    bool IsRemoved() const override;

    std::optional<Bytes> Receive() override;
    bool Send(const Bytes& message) override;

private:
    std::string name;
    mqd_t queue;
};

} // namespace OrvelClient
