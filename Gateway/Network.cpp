#include "Network.h"

#include "System/ThrowErrno.h"

#include <log4cplus/loggingmacros.h>

#include <sys/epoll.h>

#include <random>
#include <stdexcept>
#include <utility>

namespace OrvelGateway
{

using Knx::RoutingPort;

Network::Network(const Settings& settings, std::function<void(const Bytes& cemi)> request)
    : place(settings.place)
    , logger(log4cplus::Logger::getInstance("Network"))
    , readable(epoll_create1(EPOLL_CLOEXEC))
    , router(settings.routing,
             {[this](const Bytes& datagram) { return Send(datagram); }, std::move(request),
              [this](const RoutingPort::Note& note) { Tell(note); }},
             std::random_device()())
{
    if (!readable.IsOpen())
    {
        System::ThrowErrno("cannot make an epoll descriptor");
    }
}

void Network::Look()
{
    if (socket && !socket->IsJoined())
    {
        LOG4CPLUS_WARN_FMT(logger, "Lost the network interface %s, waiting for it", place.interface.c_str());
        socket.reset();
    }
    if (!socket)
    {
        Join();
    }
}

void Network::Receive(Clock::time_point now)
{
    // A few at a time: a flood is not to hold up the programs on this machine.
    for (int taken = 0; socket && taken < 64; ++taken)
    {
        const auto datagram = socket->Receive();
        if (!datagram)
        {
            break;
        }
        router.FromNetwork(*datagram, now);
    }
}

void Network::FromBus(const Bytes& cemi)
{
    router.FromBus(cemi);
}

void Network::OnConfirmation(bool sent)
{
    router.OnConfirmation(sent);
}

void Network::OnLink(bool up)
{
    router.OnLink(up);
}

void Network::Advance(Clock::time_point now)
{
    router.Advance(now);
}

std::optional<Network::Clock::time_point> Network::NextDue() const
{
    return router.NextDue();
}

bool Network::Send(const Bytes& datagram) const
{
    return socket && socket->Send(datagram);
}

void Network::Join()
{
    try
    {
        socket.emplace(place.interface, place.group);
        epoll_event event{};
        event.events = EPOLLIN;
        if (epoll_ctl(readable.Number(), EPOLL_CTL_ADD, socket->Descriptor(), &event) == -1)
        {
            socket.reset();
            System::ThrowErrno("cannot wait for datagrams");
        }
        whyNotJoined.clear();
        LOG4CPLUS_INFO_FMT(logger, "Joined KNXnet/IP routing, %s on %s", place.group.c_str(), place.interface.c_str());
    }
    catch (const std::runtime_error& failure)
    {
        if (failure.what() != whyNotJoined)
        {
            whyNotJoined = failure.what();
            LOG4CPLUS_WARN_FMT(logger, "Not in KNXnet/IP routing: %s", failure.what());
        }
    }
}

void Network::Tell(const RoutingPort::Note& note)
{
    const auto number = static_cast<unsigned long long>(note.number);
    const auto total = static_cast<unsigned long long>(note.total);
    switch (note.kind)
    {
    case RoutingPort::Note::Lost:
        if (Knx::IsWorthTelling(++losses)) // the others are told each time
        {
            LOG4CPLUS_WARN_FMT(logger, "Lost %llu telegrams from the network, %llu so far", number, total);
        }
        break;
    case RoutingPort::Note::OthersLost:
        LOG4CPLUS_WARN_FMT(logger, "Another router lost %llu telegrams, all of them %llu so far", number, total);
        break;
    case RoutingPort::Note::OthersBusy:
        LOG4CPLUS_INFO_FMT(logger, "Another router asked for a pause of %llu ms, %llu times so far", number, total);
        break;
    case RoutingPort::Note::Malformed:
        LOG4CPLUS_WARN_FMT(logger, "Received a datagram that is not understood, %llu so far: %s", total,
                           Knx::ToHex(note.datagram).c_str());
        break;
    }
}

} // namespace OrvelGateway
