#pragma once

#include "Knx/GroupRanges.h"
#include "Knx/RoutingPort.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace OrvelGateway
{

using Knx::Bytes;

/// Joins the bus to KNXnet/IP routing, as a router between two lines does: it counts hops, passes on what it may, and sends
/// nothing back to where it came from.
///
/// Group telegrams pass, within the ranges that were chosen. What programs devices does not, unless it is asked for: telegrams
/// to one device, broadcasts, and those that address something else than groups.
///
/// The bus is slower than the network. A few telegrams are under way to it, until it confirms them; the others wait here.
///
/// Without a thread and without a clock: the caller tells the time, which must not go back. Not for several threads at once.
class NetworkRouter
{
public:
    using Clock = std::chrono::steady_clock;

    /// Telegrams that are under way to the bus. With one less than two it would idle while the confirmation travels; the
    /// queue of the daemon, which others use too, has room for ten.
    static constexpr std::size_t MaxUnconfirmed = 4;

    static constexpr std::size_t MaxWaiting = Knx::RoutingPort::MaxWaiting; ///< telegrams, each way
    static constexpr std::size_t MaxRequest = 255;                          ///< bytes that the daemon's queue can take
    static constexpr std::chrono::milliseconds Gap{5}; ///< between two datagrams, when many have waited

    struct Settings
    {
        bool programming = false; ///< everything passes, not only group telegrams
        Knx::GroupRanges fromNetwork;
        Knx::GroupRanges toNetwork;
    };

    /// What the router uses. None of it may use the router, but for `request`, which may call OnConfirmation.
    struct Outside
    {
        std::function<bool(const Bytes& datagram)> send; ///< to the network; false when that failed
        std::function<void(const Bytes& cemi)> request;  ///< an L_Data.req to the bus
        std::function<void(const Knx::RoutingPort::Note& note)> tell;
    };

    struct Counters
    {
        uint64_t fromNetwork = 0;        ///< telegrams from the network that the bus has confirmed
        uint64_t refused = 0;            ///< telegrams from the network that the bus has not confirmed
        uint64_t toNetwork = 0;          ///< telegrams to the network
        uint64_t notSent = 0;            ///< telegrams that the network did not take, or for which there was no room
        uint64_t stoppedFromNetwork = 0; ///< telegrams that may not pass, or cannot
        uint64_t stoppedToNetwork = 0;
        Knx::RoutingPort::Counters port;
    };

    NetworkRouter(Settings whatPasses, Outside outsideWorld, unsigned seed);

    /// Any message that the bus or a program on this machine has sent. Telegrams are L_Data.ind. Whoever has sent a telegram
    /// for this router does not give it back.
    void FromBus(const Bytes& cemi);

    /// Any bytes from the network, except for what was sent by this router.
    void FromNetwork(const Bytes& datagram, Clock::time_point now);

    /// Once for each request, in their order.
    void OnConfirmation(bool sent);

    /// Whether the bus can be reached; at first it can.
    void OnLink(bool up);

    /// Does what is due. To be called after each of the above, and when the time comes that NextDue tells.
    void Advance(Clock::time_point now);

    /// Nothing while nothing waits for its time.
    std::optional<Clock::time_point> NextDue() const;

    Counters Count() const;

private:
    bool MayPass(const Bytes& cemi, const Knx::GroupRanges& groups) const;
    void SendNext(Clock::time_point now);
    Clock::time_point SendTime() const;

    const Settings settings;
    const Outside outside;
    Knx::RoutingPort network;
    Counters counters;
    std::size_t unconfirmed = 0;
    std::deque<Bytes> toNetwork;
    Clock::time_point sentAt;
};

} // namespace OrvelGateway
