#include "NetworkRouter.h"

#include "Knx/CemiMessage.h"
#include "Knx/Telegram.h"

#include <algorithm>
#include <utility>

namespace OrvelGateway
{

namespace Telegram = Knx::Telegram;

namespace
{

constexpr uint16_t Broadcast = 0; // as a group address

} // namespace

NetworkRouter::NetworkRouter(Settings whatPasses, Outside outsideWorld, unsigned seed)
    : settings(std::move(whatPasses))
    , outside(std::move(outsideWorld))
    , network({outside.send, outside.tell}, seed)
{
}

void NetworkRouter::FromBus(const Bytes& cemi)
{
    if (!Telegram::IsIndication(cemi))
    {
        return;
    }
    Bytes telegram = cemi;
    if (!MayPass(telegram, settings.toNetwork) || !Telegram::CountHop(telegram))
    {
        ++counters.stoppedToNetwork;
    }
    else if (toNetwork.size() == MaxWaiting)
    {
        ++counters.notSent;
    }
    else
    {
        toNetwork.push_back(std::move(telegram));
    }
}

void NetworkRouter::FromNetwork(const Bytes& datagram, Clock::time_point now)
{
    auto telegram = network.Receive(datagram, now);
    if (!telegram)
    {
        return;
    }
    Bytes request = Telegram::ToRequest(*telegram);
    if (!MayPass(request, settings.fromNetwork) || !Telegram::CountHop(request) || request.size() > MaxRequest)
    {
        ++counters.stoppedFromNetwork;
        return;
    }
    network.Keep(std::move(request), now);
}

void NetworkRouter::OnConfirmation(bool sent)
{
    --unconfirmed;
    ++(sent ? counters.fromNetwork : counters.refused);
}

void NetworkRouter::OnLink(bool up)
{
    network.SetLine(up);
}

void NetworkRouter::Advance(Clock::time_point now)
{
    while (network.Next() != nullptr && unconfirmed < MaxUnconfirmed)
    {
        ++unconfirmed;
        outside.request(network.Take().cemi);
    }
    while (!toNetwork.empty() && SendTime() <= now)
    {
        SendNext(now);
    }
    network.Advance(now);
}

std::optional<NetworkRouter::Clock::time_point> NetworkRouter::NextDue() const
{
    const auto due = network.NextDue();
    if (toNetwork.empty())
    {
        return due;
    }
    return due ? std::min(*due, SendTime()) : SendTime();
}

NetworkRouter::Counters NetworkRouter::Count() const
{
    Counters all = counters;
    all.port = network.Count();
    return all;
}

// Nobody can tell which line a device is on, so that telegrams to one device pass all or not at all.
bool NetworkRouter::MayPass(const Bytes& cemi, const Knx::GroupRanges& groups) const
{
    const Knx::CemiMessage message = Knx::Decode(cemi);
    const bool isToGroup = message.IsGroupAddressed() && message.Format() == 0 && message.destination != Broadcast;
    return isToGroup ? groups.Contain(*message.destination) : settings.programming;
}

void NetworkRouter::SendNext(Clock::time_point now)
{
    ++(network.Send(toNetwork.front()) ? counters.toNetwork : counters.notSent);
    toNetwork.pop_front();
    sentAt = now;
}

NetworkRouter::Clock::time_point NetworkRouter::SendTime() const
{
    return std::max(network.PauseEnd(), sentAt + Gap);
}

} // namespace OrvelGateway
