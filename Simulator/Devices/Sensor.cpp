#include "Sensor.h"

#include <utility>

namespace Simulator
{

Sensor::Sensor(uint16_t itsGroup, std::vector<Knx::GroupValue> itsValues, Clock::duration interval)
    : group(itsGroup)
    , values(std::move(itsValues))
    , rhythm(interval)
{
}

void Sensor::Begin(Clock::time_point now)
{
    rhythm.Begin(now);
}

Device::Reports Sensor::OnWrite(uint16_t /*group*/, const Knx::GroupValue& /*value*/)
{
    return {};
}

std::optional<Knx::GroupValue> Sensor::ValueOf(uint16_t asked) const
{
    return asked == group ? std::optional(values[last]) : std::nullopt;
}

Device::Reports Sensor::OnTime(Clock::time_point now)
{
    if (!rhythm.IsDue(now))
    {
        return {};
    }
    last = next;
    next = (next + 1) % values.size();
    return {{group, values[last]}};
}

std::optional<Device::Clock::time_point> Sensor::NextTime() const
{
    return rhythm.Next();
}

} // namespace Simulator
