#include "NetworkSide.h"

#include "Knx/CemiMessage.h"
#include "Orvel/Protocol.h"

#include <chrono>
#include <utility>

namespace OrvelGateway
{

namespace
{

using Knx::MessageCode;

constexpr auto Indication = static_cast<uint8_t>(MessageCode::LDataInd);
constexpr auto Confirmation = static_cast<uint8_t>(MessageCode::LDataCon);

NetworkSide::Time Now()
{
    return std::chrono::steady_clock::now();
}

} // namespace

NetworkSide::NetworkSide(Loop& loop, Hub& servedHub, const Network::Settings& settings, std::function<void()> onEvent)
    : hub(servedHub)
    , tell(std::move(onEvent))
    , id(hub.ConnectNetwork())
    , network(settings, [this](const Bytes& cemi) { Request(cemi); })
    , watch(loop, network.Descriptor(), [this] { OnReadable(); })
    , due(loop, [this] { OnDue(); })
{
    network.OnLink(false); // the hub tells when it is there
    network.Look();
    watch.AwaitReadable();
}

std::size_t NetworkSide::Serve()
{
    std::size_t taken = 0;
    while (const Message* const message = hub.Next(id))
    {
        Take(*message);
        hub.Taken(id);
        ++taken;
    }
    Advance();
    return taken;
}

void NetworkSide::Look()
{
    network.Look();
}

void NetworkSide::Request(const Bytes& cemi)
{
    Bytes message{static_cast<uint8_t>(cemi.size())};
    message.insert(message.end(), cemi.begin(), cemi.end());
    if (!hub.CanSend(id) || !hub.Send(id, message.data(), message.size(), Now()))
    {
        network.OnConfirmation(false);
    }
}

void NetworkSide::Take(const Message& message)
{
    const Bytes frame(message.Frame(), message.Frame() + message.FrameSize());
    if (message.HasCode(Indication))
    {
        network.FromBus(frame);
    }
    else if (message.HasCode(Confirmation))
    {
        network.OnConfirmation(!Knx::Decode(frame).ErrorBit()); // the hub only confirms whole requests
    }
    else if (message.HasCode(ORVEL_LINK_STATE_CODE) && frame.size() == 3)
    {
        network.OnLink((frame[1] << 8U | frame[2]) == ORVEL_LINK_STATE_USABLE);
    }
}

void NetworkSide::OnReadable()
{
    network.Receive(Now());
    Advance();
    watch.AwaitReadable();
    tell();
}

void NetworkSide::OnDue()
{
    dueAt = Time::max();
    Advance();
    tell();
}

void NetworkSide::Advance()
{
    network.Advance(Now());
    const auto next = network.NextDue();
    if (next && *next < dueAt)
    {
        dueAt = *next;
        due.Set(dueAt);
    }
}

} // namespace OrvelGateway
