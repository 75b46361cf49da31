#pragma once

#include "Channel.h"

#include "System/Descriptor.h"

#include <deque>
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

    /// Keeps what waits to be received, which poll does not tell any more: receive before you wait. What is too much is lost, and
    /// a message in its place says how many, as one of the gateway does. Throws Failure (NotThere) while the gateway has no link.
    bool Send(const Bytes& message) override;

    /// Whether a message waits.
    bool HasMessage() const;

private:
    std::optional<Bytes> Take();
    void Keep(Bytes message);
    bool Fails(int error);

    System::Descriptor socket;
    std::string name;
    std::deque<Bytes> kept;
    std::size_t lost = 0;    // behind those that are kept
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
