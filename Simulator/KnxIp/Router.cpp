#include "Router.h"

#include "Knx/Telegram.h"

#include <algorithm>
#include <utility>

namespace Simulator
{

namespace Telegram = Knx::Telegram;
using Knx::RoutingPort;

Router::Router(BusSpeed busSpeed, Outside outsideWorld, unsigned seed)
    : speed(busSpeed)
    , outside(std::move(outsideWorld))
    , network({outside.send, [this](const RoutingPort::Note& note) { Tell(note); }}, seed)
{
}

void Router::FromApplication(const Bytes& request, const Confirm& confirm, Clock::time_point now)
{
    if (!Telegram::IsRequest(request) || toNetwork.size() == MaxWaiting)
    {
        ++refused;
        confirm(false);
        return;
    }
    toNetwork.push_back({request, now, confirm});
}

void Router::FromNetwork(const Bytes& datagram, Clock::time_point now)
{
    if (auto telegram = network.Receive(datagram, now))
    {
        network.Keep(std::move(*telegram), now);
    }
}

void Router::Advance(Clock::time_point now)
{
    while (Leave(now) || LeaveLine(now) || EnterLine(now))
    {
    }
    network.Advance(now);
}

std::optional<Router::Clock::time_point> Router::NextDue() const
{
    // Whatever else waits, waits for one of these. Advance has done all that was due.
    auto due = network.NextDue();
    const auto orSooner = [&due](Clock::time_point time) { due = due ? std::min(*due, time) : time; };
    if (onLine)
    {
        orSooner(lineFreeAt);
    }
    if (leaving || (!onLine && !toNetwork.empty()))
    {
        orSooner(network.PauseEnd());
    }
    return due;
}

KnxIpCounters Router::Count() const
{
    const auto& port = network.Count();
    return {sent, received, refused, port.lost, port.othersLost, port.othersBusy, port.malformed, port.ignored};
}

void Router::Tell(const RoutingPort::Note& note) const
{
    const auto total = static_cast<int64_t>(note.total);
    switch (note.kind)
    {
    case RoutingPort::Note::Lost:
        outside.tell({Event::KnxIpNoRoom, static_cast<int64_t>(note.number)});
        break;
    case RoutingPort::Note::OthersLost:
        outside.tell({Event::KnxIpRouterLost, static_cast<int64_t>(note.number), total});
        break;
    case RoutingPort::Note::OthersBusy:
        outside.tell({Event::KnxIpRouterBusy, static_cast<int64_t>(note.number), total});
        break;
    case RoutingPort::Note::Malformed:
        outside.tell({Event::MalformedDatagram, note.datagram, total});
        break;
    }
}

bool Router::Leave(Clock::time_point now)
{
    if (!leaving || now < network.PauseEnd())
    {
        return false;
    }
    const bool isSent = network.Send(Telegram::ToIndication(leaving->cemi));
    ++(isSent ? sent : refused);
    leaving->confirm(isSent);
    leaving.reset();
    return true;
}

bool Router::LeaveLine(Clock::time_point now)
{
    if (!onLine || now < lineFreeAt)
    {
        return false;
    }
    if (IsOfApplication(*onLine))
    {
        leaving = std::move(onLine);
    }
    else
    {
        ++received;
        outside.deliver(onLine->cemi);
    }
    onLine.reset();
    return true;
}

bool Router::EnterLine(Clock::time_point now)
{
    const bool applicationMaySend = !toNetwork.empty() && !leaving && network.PauseEnd() <= now;
    if (onLine || (!applicationMaySend && network.Next() == nullptr))
    {
        return false;
    }
    onLine = TakeNext(applicationMaySend);

    // From when it could, and not from now, which may be a little later: the line is as fast as it is.
    auto begin = std::max(lineFreeAt, onLine->since);
    if (IsOfApplication(*onLine))
    {
        begin = std::max(begin, network.PauseEnd());
    }
    lineFreeAt = speed == BusSpeed::Unlimited ? begin : begin + Telegram::TimeOnLine(onLine->cemi);
    return true;
}

// What came first, from either side.
Router::Waiting Router::TakeNext(bool applicationMaySend)
{
    const auto* const fromNetwork = network.Next();
    if (fromNetwork != nullptr && (!applicationMaySend || fromNetwork->since <= toNetwork.front().since))
    {
        auto telegram = network.Take();
        return {std::move(telegram.cemi), telegram.since, {}};
    }
    Waiting telegram = std::move(toNetwork.front());
    toNetwork.pop_front();
    return telegram;
}

bool Router::IsOfApplication(const Waiting& telegram)
{
    return telegram.confirm != nullptr;
}

} // namespace Simulator
