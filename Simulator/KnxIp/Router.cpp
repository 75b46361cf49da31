#include "Router.h"

#include "Knx/Telegram.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Simulator
{

namespace
{

namespace Routing = Knx::Routing;
namespace Telegram = Knx::Telegram;

// The first, the tenth, the hundredth...: a flood is not to fill the log.
bool IsWorthTelling(uint64_t count)
{
    while (count % 10 == 0)
    {
        count /= 10;
    }
    return count == 1;
}

} // namespace

Router::Router(BusSpeed busSpeed, Outside outsideWorld, unsigned seed)
    : speed(busSpeed)
    , outside(std::move(outsideWorld))
    , pause(seed)
{
}

void Router::FromApplication(const Bytes& request, const Confirm& confirm, Clock::time_point now)
{
    if (!Telegram::IsRequest(request) || toNetwork.size() == MaxWaiting)
    {
        ++counters.refused;
        confirm(false);
        return;
    }
    toNetwork.push_back({request, now, confirm});
}

void Router::FromNetwork(const Bytes& datagram, Clock::time_point now)
{
    const auto decoded = Routing::Decode(datagram);
    if (!decoded)
    {
        OnMalformed(datagram);
    }
    else if (const auto* const indication = std::get_if<Routing::Indication>(&*decoded); indication != nullptr)
    {
        if (Telegram::IsIndication(indication->cemi))
        {
            OnIndication(indication->cemi, now);
        }
        else
        {
            OnMalformed(datagram);
        }
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
}

void Router::OnIndication(const Bytes& cemi, Clock::time_point now)
{
    if (fromNetwork.size() == MaxWaiting)
    {
        ++counters.dropped;
        untoldLost = static_cast<uint16_t>(std::min<int>(untoldLost + 1, std::numeric_limits<uint16_t>::max()));
        return;
    }
    fromNetwork.push_back({cemi, now, {}});
    TellIfBusy(now);
}

void Router::OnLost(const Routing::Lost& lost)
{
    counters.lost += lost.count;
    if (IsWorthTelling(++lostMessages))
    {
        outside.tell({Event::KnxIpRouterLost, lost.count, static_cast<int64_t>(counters.lost)});
    }
}

void Router::OnBusy(const Routing::Busy& busy, Clock::time_point now)
{
    ++counters.busy;
    pause.OnBusy(std::chrono::milliseconds(busy.waitTime), now);
    if (IsWorthTelling(counters.busy))
    {
        outside.tell({Event::KnxIpRouterBusy, busy.waitTime, static_cast<int64_t>(counters.busy)});
    }
}

void Router::OnMalformed(const Bytes& datagram)
{
    ++counters.malformed;
    if (IsWorthTelling(counters.malformed))
    {
        outside.tell({Event::MalformedDatagram, datagram, static_cast<int64_t>(counters.malformed)});
    }
}

// Once for each pause that is asked for.
void Router::TellIfBusy(Clock::time_point now)
{
    if (fromNetwork.size() >= BusyFrom && now - toldBusyAt >= BusyTime)
    {
        toldBusyAt = now;
        outside.send(Routing::Encode(Routing::Busy{0, static_cast<uint16_t>(BusyTime.count()), 0}));
    }
}

// Once there is room again, for all that were lost until then.
void Router::TellIfLost()
{
    if (untoldLost > 0 && fromNetwork.size() < MaxWaiting)
    {
        outside.send(Routing::Encode(Routing::Lost{0, untoldLost}));
        outside.tell({Event::KnxIpNoRoom, untoldLost});
        untoldLost = 0;
    }
}

void Router::Advance(Clock::time_point now)
{
    while (Leave(now) || LeaveLine(now) || EnterLine(now))
    {
    }
    TellIfLost();
}

std::optional<Router::Clock::time_point> Router::NextDue() const
{
    // Whatever else waits, waits for one of these. Advance has done all that was due.
    if (onLine)
    {
        return leaving ? std::min(lineFreeAt, pause.End()) : lineFreeAt;
    }
    return leaving || !toNetwork.empty() ? std::optional(pause.End()) : std::nullopt;
}

bool Router::Leave(Clock::time_point now)
{
    if (!leaving || now < pause.End())
    {
        return false;
    }
    const bool sent = outside.send(Routing::Encode(Routing::Indication{Telegram::ToIndication(leaving->cemi)}));
    ++(sent ? counters.sent : counters.refused);
    leaving->confirm(sent);
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
        ++counters.received;
        outside.deliver(onLine->cemi);
    }
    onLine.reset();
    return true;
}

bool Router::EnterLine(Clock::time_point now)
{
    const bool application = !toNetwork.empty() && !leaving && pause.End() <= now;
    if (onLine || (!application && fromNetwork.empty()))
    {
        return false;
    }
    const bool networkFirst =
        !fromNetwork.empty() && (!application || fromNetwork.front().since <= toNetwork.front().since);
    auto& queue = networkFirst ? fromNetwork : toNetwork;
    onLine = std::move(queue.front());
    queue.pop_front();

    // From when it could, and not from now, which may be a little later: the line is as fast as it is.
    auto begin = std::max(lineFreeAt, onLine->since);
    if (IsOfApplication(*onLine))
    {
        begin = std::max(begin, pause.End());
    }
    lineFreeAt = speed == BusSpeed::Unlimited ? begin : begin + Telegram::TimeOnLine(onLine->cemi);
    return true;
}

bool Router::IsOfApplication(const Waiting& telegram)
{
    return telegram.confirm != nullptr;
}

} // namespace Simulator
