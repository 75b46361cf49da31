#include "Knx/GroupRanges.h"

#include <algorithm>

namespace Knx
{

GroupRanges::GroupRanges(std::string_view list)
{
    for (std::size_t comma = list.find(','); comma != std::string_view::npos; comma = list.find(','))
    {
        patterns.emplace_back(list.substr(0, comma));
        list.remove_prefix(comma + 1);
    }
    patterns.emplace_back(list);
}

bool GroupRanges::Contain(uint16_t address) const
{
    return patterns.empty() || std::any_of(patterns.begin(), patterns.end(),
                                           [address](const auto& pattern) { return pattern.Contains(address); });
}

} // namespace Knx
