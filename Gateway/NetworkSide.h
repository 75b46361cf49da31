#pragma once

#include "Hub.h"
#include "Loop.h"
#include "Network.h"

#include <cstddef>
#include <functional>

namespace OrvelGateway
{

/// Carries telegrams between the hub and the network, which is one more participant.
class NetworkSide
{
public:
    using Time = Hub::Time;

    /// `onEvent` is called after the hub has been given something.
    NetworkSide(Loop& loop, Hub& servedHub, const Network::Settings& settings, std::function<void()> onEvent);

    /// The network's number in the hub.
    Hub::Id Id() const
    {
        return id;
    }

    /// Gives the network what the hub has for it; gives back how many messages it took.
    std::size_t Serve();

    /// Looks after the interface. To be called once in a second.
    void Look();

    const Network& Joined() const
    {
        return network;
    }

private:
    void Request(const Bytes& cemi);
    void Take(const Message& message);
    void OnReadable();
    void OnDue();
    void Advance();

    Hub& hub;
    const std::function<void()> tell;
    const Hub::Id id;
    Network network;
    Watch watch;
    Timer due;
    Time dueAt = Time::max(); // when the timer calls; the maximum while it is not set
};

} // namespace OrvelGateway
