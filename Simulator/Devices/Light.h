#pragma once

#include "Device.h"

namespace Simulator
{

/// A lamp with an actuator, which reports its state when it changes.
class Light : public Device
{
public:
    struct Groups
    {
        uint16_t toSwitch; ///< takes on and off
        uint16_t state;
    };

    explicit Light(const Groups& itsGroups)
        : groups(itsGroups)
    {
    }

    Reports OnWrite(uint16_t group, const Knx::GroupValue& value) override;
    std::optional<Knx::GroupValue> ValueOf(uint16_t group) const override;

private:
    Groups groups;
    bool isLit = false;
};

} // namespace Simulator
