#include "HostSession.h"

#include <algorithm>
#include <random>
#include <vector>

namespace Simulator
{

namespace
{

using namespace std::chrono_literals;

constexpr auto HelloPeriod = 50ms; // the co-processor may still be booting and not hear the first ones
constexpr auto PingPeriod = 200ms; // short beside the second after which a silent co-processor counts as lost

// Together 1 s. Periods are counted and not the time: when this end was held up, the co-processor still has its time for
// an answer.
constexpr int MaxSilentPeriods = 5;

// Together 5 s, as long as a reconnection may take. The simulated co-processor is a thread of this machine, and beside
// busy processes it has been kept from its processor for 2 s and more, while this end ran in time.
constexpr int MaxSilentPeriodsWhenBusy = 25;

// On a machine that is not busy, answers and own wake-ups take a few milliseconds. One that was late tells of a busy
// machine, long before the co-processor is kept waiting for a second.
constexpr auto Late = 50ms;
constexpr auto BusyTime = 60s; // that a machine is taken to be busy after it

std::vector<uint8_t> Payload(uint32_t number)
{
    return {static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8U), static_cast<uint8_t>(number >> 16U),
            static_cast<uint8_t>(number >> 24U)};
}

} // namespace

HostSession::HostSession()
    : number(std::random_device()()) // other numbers than those of the last process on this line
{
}

void HostSession::Start(Clock::time_point now, Clock::duration limit)
{
    state = State::Starting;
    ++number;
    asked.reset();
    next = now;
    deadline = now + limit;
}

void HostSession::Stop()
{
    state = State::Down;
}

void HostSession::OnFrame(const Wire::Frame& frame, Clock::time_point now)
{
    if (asked)
    {
        NoteDelay(now - *asked, now);
        asked.reset();
    }
    heard = true;
    if (state == State::Starting && frame.kind == Wire::Kind::Welcome && frame.payload == Payload(number))
    {
        state = State::Up;
        silentPeriods = 0;
    }
}

std::optional<Wire::Frame> HostSession::OnTime(Clock::time_point now)
{
    if (state == State::Down || now < next)
    {
        return std::nullopt;
    }
    if (state == State::Starting)
    {
        if (now >= deadline)
        {
            state = State::Down;
            return std::nullopt;
        }
        next = std::min(now + HelloPeriod, deadline);
        return Wire::Frame{Wire::Kind::Hello, 0, Payload(number)};
    }

    NoteDelay(now - next, now);
    silentPeriods = heard ? 0 : silentPeriods + 1;
    heard = false;
    if (silentPeriods >= (now < busyUntil ? MaxSilentPeriodsWhenBusy : MaxSilentPeriods))
    {
        state = State::Down;
        return std::nullopt;
    }
    next = now + PingPeriod;
    asked = asked.value_or(now);
    return Wire::Frame{Wire::Kind::Ping, 0, Payload(number)};
}

void HostSession::NoteDelay(Clock::duration delay, Clock::time_point now)
{
    if (delay > Late)
    {
        busyUntil = now + BusyTime;
    }
}

std::optional<HostSession::Clock::time_point> HostSession::NextTime() const
{
    return state == State::Down ? std::nullopt : std::optional(next);
}

} // namespace Simulator
