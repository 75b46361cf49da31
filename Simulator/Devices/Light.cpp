#include "Light.h"

#include "Bit.h"

namespace Simulator
{

Device::Reports Light::OnWrite(uint16_t group, const Knx::GroupValue& value)
{
    const auto wanted = group == groups.toSwitch ? BitIn(value) : std::nullopt;
    if (!wanted || *wanted == isLit)
    {
        return {};
    }
    isLit = *wanted;
    return {{groups.state, Bit(isLit)}};
}

std::optional<Knx::GroupValue> Light::ValueOf(uint16_t group) const
{
    return group == groups.state ? std::optional(Bit(isLit)) : std::nullopt;
}

} // namespace Simulator
