#pragma once

#include "System/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace OrvelGateway
{

/// A queue of the daemon, opened and never created. Nothing here waits, or uses the heap once the queue is open.
class DaemonQueue
{
public:
    enum class For
    {
        Reading,
        Writing
    };

    enum class Result
    {
        Done,
        NotNow, ///< empty, or full
        Failed  ///< errno says why
    };

    DaemonQueue(std::string queueName, For queueAccess, std::size_t bytes);

    /// 0 if the queue is open now. Otherwise the error: ENOENT if there is none, EMSGSIZE if its messages have not the size that
    /// the daemon's have.
    int Open();

    /// What such an error means, in one line.
    std::string Problem(int error) const;

    const std::string& Name() const
    {
        return name;
    }

    void Close();

    bool IsOpen() const
    {
        return descriptor.IsOpen();
    }

    /// For poll.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// While it is open: true when the daemon has stopped or was started anew. Nobody else will have this queue then.
    bool IsRemoved() const;

    /// While it is open and no other gateway has it: false if one has. It is this gateway's until it is closed. The queue
    /// itself is marked: this works whatever the gateways' sockets are, and ends with the process.
    bool Claim() const;

    /// Takes a message of up to the queue's bytes; `size` is that of the message.
    Result Receive(uint8_t* message, std::size_t& size) const;

    Result Send(const uint8_t* message, std::size_t size) const;

private:
    std::string name;
    For access;
    std::size_t messageSize;
    System::Descriptor descriptor;
};

} // namespace OrvelGateway
