#pragma once

#include "Knx/HexDigits.h"

#include <mqueue.h>

#include <cstddef>
#include <optional>

/// A queue as an application uses it.
class Queue
{
public:
    /// Waits until the daemon has made it. `access` is O_RDONLY or O_WRONLY.
    Queue(const char* queueName, int access);
    ~Queue();

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// Closes and opens the queue, as an application that ends and starts again. If the queue was unlinked, the
    /// application keeps what it has.
    void OpenAgain();

    /// False if there is no room.
    bool Send(const Knx::Bytes& message) const;

    /// The next message, if there is one.
    std::optional<Knx::Bytes> Receive() const;

    long Pending() const;

private:
    const char* const name;
    const int mode;
    mqd_t queue = -1;
};
