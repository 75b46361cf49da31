#pragma once

#include "Device.h"

namespace Simulator
{

/// A room with a thermostat, which heats until the room is as warm as the setpoint wants it. The room gains or loses a tenth of
/// a degree in each interval, between 10 and 40 degrees. The thermostat tells each new temperature, and when it begins or ends
/// to heat.
class Thermostat : public Device
{
public:
    struct Groups
    {
        uint16_t temperature; ///< of the room, in degrees Celsius as of 9.001
        uint16_t setpoint;    ///< the same, and takes what is written
        uint16_t heating;     ///< on or off
    };

    Thermostat(const Groups& itsGroups, Clock::duration interval);

    void Begin(Clock::time_point now) override;
    Reports OnWrite(uint16_t group, const Knx::GroupValue& value) override;
    std::optional<Knx::GroupValue> ValueOf(uint16_t group) const override;
    Reports OnTime(Clock::time_point now) override;
    std::optional<Clock::time_point> NextTime() const override;

private:
    Reports Decide();

    Groups groups;
    Rhythm rhythm;
    long temperature = 1950; // hundredths of a degree, as are all
    long setpoint = 2100;
    bool heats = false;
};

} // namespace Simulator
