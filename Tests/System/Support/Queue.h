#pragma once

#include "Knx/HexDigits.h"

#include <mqueue.h>

#include <optional>
#include <string>

/// A message queue as an application uses it: the daemon creates and removes it.
class Queue
{
public:
    enum class For
    {
        Reading,
        Writing
    };

    /// Waits until the queue exists.
    Queue(const std::string& name, For access);
    ~Queue();

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// False if there is no room.
    bool Send(const Knx::Bytes& message) const;

    /// Waits for the next message; nothing if none came for long.
    std::optional<Knx::Bytes> Receive() const;

    /// The next message, if there is one now.
    std::optional<Knx::Bytes> ReceiveNow() const;

    long Pending() const;

    static bool Exists(const std::string& name);

private:
    mqd_t queue = -1;
};
