#pragma once

#include "NetworkRouter.h"

#include "Knx/MulticastSocket.h"
#include "System/Descriptor.h"

#include <log4cplus/logger.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace OrvelGateway
{

/// The gateway's place in KNXnet/IP routing: the router, and the multicast group on a network interface that may not be there
/// yet, may go away and come back. Without a thread; not for several threads at once.
class Network
{
public:
    using Clock = NetworkRouter::Clock;

    struct Settings
    {
        Knx::MulticastPlace place;
        NetworkRouter::Settings routing;
    };

    /// `request` takes an L_Data.req for the bus, and leads to one OnConfirmation.
    Network(const Settings& settings, std::function<void(const Bytes& cemi)> request);

    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// Joins if the interface is there, and anew if it has changed. Nobody tells when it does: to be called at the beginning,
    /// and then once in a second.
    void Look();

    /// Readable when datagrams have come. It stays the same, whatever becomes of the interface.
    int Descriptor() const
    {
        return readable.Number();
    }

    /// When the descriptor is readable.
    void Receive(Clock::time_point now);

    /// As NetworkRouter has them.
    void FromBus(const Bytes& cemi);
    void OnConfirmation(bool sent);
    void OnLink(bool up);

    void Advance(Clock::time_point now);
    std::optional<Clock::time_point> NextDue() const;

    bool IsJoined() const
    {
        return socket.has_value();
    }

    NetworkRouter::Counters Count() const
    {
        return router.Count();
    }

private:
    bool Send(const Bytes& datagram) const;
    void Join();
    void Tell(const Knx::RoutingPort::Note& note);

    const Knx::MulticastPlace place;
    log4cplus::Logger logger;
    System::Descriptor readable; // an epoll instance, with the socket in it while there is one
    std::optional<Knx::MulticastSocket> socket;
    std::string whyNotJoined; // as it was logged
    uint64_t losses = 0;      // how often the others were told that telegrams were lost
    NetworkRouter router;
};

} // namespace OrvelGateway
