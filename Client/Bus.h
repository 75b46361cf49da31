#pragma once

#include "Channel.h"
#include "Failure.h"
#include "StopSignals.h"

#include <memory>
#include <string>

namespace OrvelClient
{

/// A gateway has the socket and does not serve this program now: it is being started or ends, or has no room.
class NotServed : public Failure
{
public:
    using Failure::Failure;
};

/// Which way to the bus the person wants.
struct BusOptions
{
    std::string socket;      ///< of the gateway
    bool named = false;      ///< the person gave it: there is no other way
    bool direct = false;     ///< the daemon's queues, even where a gateway runs
    std::string buttonQueue; ///< where the way is the queues
};

/// What a command reads from the bus or writes to it: through the gateway where it runs, which takes nothing from other
/// programs, otherwise through a queue of the daemon.
class Bus
{
public:
    enum class For
    {
        Messages, ///< from the link
        Button,   ///< one byte for each message
        Requests  ///< to the link
    };

    /// Chooses the way, and opens it. Throws Failure.
    Bus(BusOptions wanted, For use, const StopSignals& stopSignals);

    /// Opens it again, the same way. Throws Failure; one of status NotThere while the other side does not run, or NotServed.
    void Open();

    void Close()
    {
        channel.reset();
    }

    bool IsOpen() const
    {
        return channel != nullptr;
    }

    /// For poll; -1 while it is not open.
    int Descriptor() const
    {
        return IsOpen() ? channel->Descriptor() : -1;
    }

    // While it is open, as of a channel.

    bool IsRemoved() const
    {
        return channel->IsRemoved();
    }

    std::optional<Bytes> Receive()
    {
        return channel->Receive();
    }

    bool Send(const Bytes& message)
    {
        return channel->Send(message);
    }

    /// Whether what comes back from the link comes here too, where requests go.
    bool HasBothWays() const
    {
        return throughGateway;
    }

    // For the person.

    /// "the gateway", or the queue's name.
    const std::string& Name() const
    {
        return name;
    }

    /// What to know before one reads here.
    std::string Remark() const;

    /// That the other side has gone.
    std::string Loss() const;

    /// That this goes on when the other side is there again.
    std::string Wait() const;

private:
    std::string QueueName() const;
    void OpenQueue();
    void OpenGateway();

    BusOptions options;
    For purpose;
    const StopSignals& stop;
    bool throughGateway;
    std::string name;
    std::unique_ptr<Channel> channel;
};

} // namespace OrvelClient
