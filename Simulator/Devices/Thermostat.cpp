#include "Thermostat.h"

#include "Bit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace Simulator
{

namespace
{

// Hundredths of a degree.
constexpr long Unit = 100;
constexpr long Step = 10;
constexpr long Tolerance = 20; // around the setpoint
constexpr long Coldest = 1000; // outside
constexpr long Hottest = 4000; // that the heating can do

const Knx::DatapointType& Celsius()
{
    static const Knx::DatapointType& type = Knx::DatapointTypeOf("9.001");
    return type;
}

Knx::GroupValue Degrees(long hundredths)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", static_cast<double>(hundredths) / Unit);
    return Encode(Celsius(), text.data());
}

// Nothing if it is no temperature.
std::optional<long> HundredthsIn(const Knx::GroupValue& value)
{
    try
    {
        const std::string text = ToText(Celsius(), value);
        char* end = nullptr;
        const double degrees = std::strtod(text.c_str(), &end);
        return end == text.c_str() ? std::nullopt : std::optional(std::lround(degrees * Unit));
    }
    catch (const Knx::NotAValue&)
    {
        return std::nullopt;
    }
}

} // namespace

Thermostat::Thermostat(const Groups& itsGroups, Clock::duration interval)
    : groups(itsGroups)
    , rhythm(interval)
{
}

void Thermostat::Begin(Clock::time_point now)
{
    rhythm.Begin(now);
}

Device::Reports Thermostat::OnWrite(uint16_t group, const Knx::GroupValue& value)
{
    const auto wanted = group == groups.setpoint ? HundredthsIn(value) : std::nullopt;
    if (!wanted)
    {
        return {};
    }
    setpoint = *wanted;
    return Decide();
}

std::optional<Knx::GroupValue> Thermostat::ValueOf(uint16_t group) const
{
    if (group == groups.temperature)
    {
        return Degrees(temperature);
    }
    if (group == groups.setpoint)
    {
        return Degrees(setpoint);
    }
    return group == groups.heating ? std::optional(Bit(heats)) : std::nullopt;
}

Device::Reports Thermostat::OnTime(Clock::time_point now)
{
    if (!rhythm.IsDue(now))
    {
        return {};
    }
    const long before = temperature;
    temperature = heats ? std::min(temperature + Step, Hottest) : std::max(temperature - Step, Coldest);
    Reports reports;
    if (temperature != before)
    {
        reports.push_back({groups.temperature, Degrees(temperature)});
    }
    for (const Report& report : Decide())
    {
        reports.push_back(report);
    }
    return reports;
}

std::optional<Device::Clock::time_point> Thermostat::NextTime() const
{
    return rhythm.Next();
}

// Begins or ends to heat, which it tells.
Device::Reports Thermostat::Decide()
{
    const bool isCold = temperature <= setpoint - Tolerance;
    const bool isWarm = temperature >= setpoint + Tolerance;
    if (heats ? !isWarm : !isCold)
    {
        return {};
    }
    heats = !heats;
    return {{groups.heating, Bit(heats)}};
}

} // namespace Simulator
