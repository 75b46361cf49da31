#pragma once

#include "Output.h"
#include "Queue.h"
#include "StopSignals.h"

#include <functional>
#include <optional>
#include <string>

namespace OrvelClient
{

/// Reads a queue of the daemon for as long as somebody wants to see it.
class QueueReader
{
public:
    /// Opens the queue. Throws Failure.
    QueueReader(std::string queueName, const StopSignals& stopSignals, const Output& watchedOutput);

    /// Waits for the next message; nothing when the program is to stop, or nobody reads the output any more. Goes over to the
    /// daemon's new queue when the daemon was started anew. Throws Failure.
    std::optional<Bytes> Next();

private:
    void Look();

    std::string name;
    const StopSignals& stop;
    const Output& output;
    std::optional<Queue> queue;
};

} // namespace OrvelClient
