#include "Knx/RoutingPort.h"

#include "Knx/Telegram.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Knx
{

namespace
{

constexpr uint8_t LineBroken = 0x01; // in a device state

} // namespace

bool IsWorthTelling(uint64_t count)
{
    while (count % 10 == 0)
    {
        count /= 10;
    }
    return count == 1;
}

RoutingPort::RoutingPort(Outside outsideWorld, unsigned seed)
    : outside(std::move(outsideWorld))
    , pause(seed)
{
}

std::optional<Bytes> RoutingPort::Receive(const Bytes& datagram, Clock::time_point now)
{
    auto decoded = Routing::Decode(datagram);
    if (!decoded)
    {
        OnMalformed(datagram);
    }
    else if (auto* const indication = std::get_if<Routing::Indication>(&*decoded); indication != nullptr)
    {
        if (Telegram::IsIndication(indication->cemi))
        {
            return std::move(indication->cemi);
        }
        OnMalformed(datagram);
    }
    else if (const auto* const lost = std::get_if<Routing::Lost>(&*decoded); lost != nullptr)
    {
        OnLost(*lost);
    }
    else if (const auto* const busy = std::get_if<Routing::Busy>(&*decoded); busy != nullptr)
    {
        OnBusy(*busy, now);
    }
    else
    {
        ++counters.ignored;
    }
    return std::nullopt;
}

void RoutingPort::Keep(Bytes cemi, Clock::time_point now)
{
    if (!lineWorks || waiting.size() == MaxWaiting)
    {
        Lose(1);
        return;
    }
    waiting.push_back({std::move(cemi), now});
    TellIfBusy(now);
}

RoutingPort::Waiting RoutingPort::Take()
{
    Waiting taken = std::move(waiting.front());
    waiting.pop_front();
    return taken;
}

bool RoutingPort::Send(const Bytes& cemi) const
{
    return outside.send(Routing::Encode(Routing::Indication{cemi}));
}

void RoutingPort::SetLine(bool works)
{
    lineWorks = works;
    if (!lineWorks)
    {
        Lose(waiting.size());
        waiting.clear();
    }
}

void RoutingPort::Advance(Clock::time_point now)
{
    if (HasLossToTell() && now - toldLostAt >= LostPeriod)
    {
        toldLostAt = now;
        const uint8_t deviceState = lineWorks ? 0 : LineBroken;
        outside.send(Routing::Encode(Routing::Lost{deviceState, untoldLost}));
        outside.tell({Note::Lost, untoldLost, counters.lost, {}});
        untoldLost = 0;
    }
}

std::optional<RoutingPort::Clock::time_point> RoutingPort::NextDue() const
{
    return HasLossToTell() ? std::optional(toldLostAt + LostPeriod) : std::nullopt;
}

void RoutingPort::OnLost(const Routing::Lost& lost)
{
    counters.othersLost += lost.count;
    if (IsWorthTelling(++lostMessages))
    {
        outside.tell({Note::OthersLost, lost.count, counters.othersLost, {}});
    }
}

void RoutingPort::OnBusy(const Routing::Busy& busy, Clock::time_point now)
{
    ++counters.othersBusy;
    pause.OnBusy(std::chrono::milliseconds(busy.waitTime), now);
    if (IsWorthTelling(counters.othersBusy))
    {
        outside.tell({Note::OthersBusy, busy.waitTime, counters.othersBusy, {}});
    }
}

void RoutingPort::OnMalformed(const Bytes& datagram)
{
    ++counters.malformed;
    if (IsWorthTelling(counters.malformed))
    {
        outside.tell({Note::Malformed, 0, counters.malformed, datagram});
    }
}

void RoutingPort::Lose(std::size_t telegrams)
{
    counters.lost += telegrams;
    untoldLost =
        static_cast<uint16_t>(std::min<std::size_t>(untoldLost + telegrams, std::numeric_limits<uint16_t>::max()));
}

// Once for each pause that is asked for.
void RoutingPort::TellIfBusy(Clock::time_point now)
{
    if (waiting.size() >= BusyFrom && now - toldBusyAt >= BusyTime)
    {
        toldBusyAt = now;
        outside.send(Routing::Encode(Routing::Busy{0, static_cast<uint16_t>(BusyTime.count()), 0}));
    }
}

// For all that were lost until there is room again. On a broken line there is none, but the others should know.
bool RoutingPort::HasLossToTell() const
{
    return untoldLost > 0 && waiting.size() < MaxWaiting;
}

} // namespace Knx
