#pragma once

#include "Knx/HexDigits.h"

#include <optional>

namespace OrvelClient
{

using Knx::Bytes;

/// A way on which messages come or go: a queue of the daemon, or a connection to the gateway. Never waits.
class Channel
{
public:
    Channel() = default;
    virtual ~Channel() = default;

    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// For poll.
    virtual int Descriptor() const = 0;

    /// True when the other side has ended or was started anew: nothing comes or goes here any more.
    virtual bool IsRemoved() const = 0;

    /// The next message; nothing when there is none. Throws Failure.
    virtual std::optional<Bytes> Receive() = 0;

    /// False when there is no room, or the channel is removed. Throws Failure.
    virtual bool Send(const Bytes& message) = 0;
};

} // namespace OrvelClient
