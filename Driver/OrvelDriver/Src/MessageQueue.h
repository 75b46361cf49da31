#pragma once

#include <log4cplus/logger.h>

#include <mqueue.h>

#include <string>

namespace OrvelDriver
{

/// How the daemon opens its POSIX message queues. Stateless; any thread. Neither helper ever blocks.
class MessageQueue
{
public:
    /// Opens the queue `name`, non-blocking, and creates it when it is missing: mode 0644, `messageSize` bytes a message,
    /// `maxMessages` messages. A queue that exists keeps the attributes it was created with.
    /// Returns the descriptor, or a negative value. Logs both cases unless `logger` is null.
    static mqd_t Create(const std::string& name, int messageSize, int maxMessages, bool readOnly,
                        log4cplus::Logger* logger);

    /// Removes the messages that are in `queue` now; later ones stay. `messageSize` must be at least the queue's own.
    /// `logger` may be null.
    static void DeletePending(mqd_t queue, int messageSize, log4cplus::Logger* logger);
};

} // namespace OrvelDriver
