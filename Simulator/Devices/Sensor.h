#pragma once

#include "Device.h"

namespace Simulator
{

/// Sends one value after the other, and then the first again. It answers with the one that it has sent last.
class Sensor : public Device
{
public:
    /// `itsValues` are at least one.
    Sensor(uint16_t itsGroup, std::vector<Knx::GroupValue> itsValues, Clock::duration interval);

    void Begin(Clock::time_point now) override;
    Reports OnWrite(uint16_t group, const Knx::GroupValue& value) override;
    std::optional<Knx::GroupValue> ValueOf(uint16_t asked) const override;
    Reports OnTime(Clock::time_point now) override;
    std::optional<Clock::time_point> NextTime() const override;

private:
    uint16_t group;
    std::vector<Knx::GroupValue> values;
    std::size_t next = 0; // of the values
    std::size_t last = 0; // the one that was sent; before that, the first
    Rhythm rhythm;
};

} // namespace Simulator
