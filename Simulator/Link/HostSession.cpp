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

// Together 1 s. Periods are counted and not the time: on a starved machine each period still leaves the co-processor
// its time for an answer.
constexpr int MaxSilentPeriods = 5;

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
    next = now;
    deadline = now + limit;
}

void HostSession::Stop()
{
    state = State::Down;
}

void HostSession::OnFrame(const Wire::Frame& frame)
{
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

    silentPeriods = heard ? 0 : silentPeriods + 1;
    heard = false;
    if (silentPeriods == MaxSilentPeriods)
    {
        state = State::Down;
        return std::nullopt;
    }
    next = now + PingPeriod;
    return Wire::Frame{Wire::Kind::Ping, 0, Payload(number)};
}

std::optional<HostSession::Clock::time_point> HostSession::NextTime() const
{
    return state == State::Down ? std::nullopt : std::optional(next);
}

} // namespace Simulator
