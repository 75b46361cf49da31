#pragma once

#include "Channel.h"

#include "System/Descriptor.h"

#include <string>

namespace OrvelClient
{

/// A connection to the gateway. It has both directions; frames have the layout that they have in the daemon's queues.
class GatewaySocket : public Channel
{
public:
    /// The longest path that a socket can have, in bytes.
    static const std::size_t MaxPath;

    /// Throws Failure: NotThere when no gateway listens there, NotAllowed, Failed.
    explicit GatewaySocket(const std::string& path);

    int Descriptor() const override
    {
        return socket.Number();
    }

    bool IsRemoved() const override
    {
        return ended;
    }

    std::optional<Bytes> Receive() override;

    /// Discards what waits to be received: whoever sends reads what concerns the request before the next one. Throws Failure
    /// (NotThere) while the gateway has no link.
    bool Send(const Bytes& message) override;

    /// Whether a message waits.
    bool HasMessage() const;

private:
    bool Fails(int error);

    System::Descriptor socket;
    std::string name;
    bool linkIsLost = false; // as far as has been received
    bool ended = false;
};

/// Of such a connection only the button, as its queue has it: one byte for each message.
class GatewayButton : public GatewaySocket
{
public:
    using GatewaySocket::GatewaySocket;

    std::optional<Bytes> Receive() override;
};

} // namespace OrvelClient
