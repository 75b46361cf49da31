#pragma once

#include "Event.h"

#include "Knx/RoutingPort.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace Simulator
{

using Knx::Bytes;

enum class BusSpeed
{
    Tp1,      ///< a twisted pair line of 9600 bit/s
    Unlimited ///< no telegram takes any time
};

/// Joins the KNX line of the board to KNXnet/IP routing: telegrams of the application become datagrams, datagrams of others
/// telegrams for the application.
///
/// All of them pass one line, which carries one telegram at a time; the others wait in the order in which they came, those of
/// the application also while another router is busy. Where more wait than there is room for, a telegram of the application is
/// refused, and one from the network dropped, which the other routers are told.
///
/// Without a thread and without a clock: the caller tells the time, which must not go back. Not for several threads at once.
class Router
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t MaxWaiting = Knx::RoutingPort::MaxWaiting; ///< telegrams, each way

    /// Told whether a telegram of the application was sent.
    using Confirm = std::function<void(bool sent)>;

    /// What the router uses. None of it may use the router.
    struct Outside
    {
        std::function<bool(const Bytes& datagram)> send; ///< to the network; false when that failed
        std::function<void(const Bytes& cemi)> deliver;  ///< to the application
        std::function<void(const Event& event)> tell;
    };

    Router(BusSpeed busSpeed, Outside outsideWorld, unsigned seed);

    /// A cEMI message of the application; `confirm` is called once, now or in a later Advance.
    void FromApplication(const Bytes& request, const Confirm& confirm, Clock::time_point now);

    /// Any bytes from the network, except for what was sent by this router.
    void FromNetwork(const Bytes& datagram, Clock::time_point now);

    /// Does what is due. To be called after each of the above, and when the time comes that NextDue tells.
    void Advance(Clock::time_point now);

    /// Nothing while nothing waits for its time.
    std::optional<Clock::time_point> NextDue() const;

    KnxIpCounters Count() const;

private:
    struct Waiting
    {
        Bytes cemi;
        Clock::time_point since;
        Confirm confirm; // none when it is from the network
    };

    void Tell(const Knx::RoutingPort::Note& note) const;
    Waiting TakeNext(bool applicationMaySend);
    bool EnterLine(Clock::time_point now);
    bool LeaveLine(Clock::time_point now);
    bool Leave(Clock::time_point now);
    static bool IsOfApplication(const Waiting& telegram);

    const BusSpeed speed;
    const Outside outside;
    Knx::RoutingPort network;
    uint64_t sent = 0;
    uint64_t received = 0;
    uint64_t refused = 0;
    std::deque<Waiting> toNetwork;
    std::optional<Waiting> onLine;
    Clock::time_point lineFreeAt;
    std::optional<Waiting> leaving; // has passed the line, and leaves when no other router is busy
};

} // namespace Simulator
