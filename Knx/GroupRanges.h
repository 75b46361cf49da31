#pragma once

#include "Knx/GroupAddress.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace Knx
{

/// Group addresses that somebody has listed: "1/2/0-255,3/1/7". With nothing listed, all.
class GroupRanges
{
public:
    GroupRanges() = default;

    /// Patterns with commas between them. Throws NotAGroupAddress.
    explicit GroupRanges(std::string_view list);

    bool Contain(uint16_t address) const;

private:
    std::vector<GroupAddressPattern> patterns;
};

} // namespace Knx
