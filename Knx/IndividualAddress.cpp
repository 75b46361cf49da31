#include "Knx/IndividualAddress.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

namespace Knx
{

namespace
{

constexpr std::array<unsigned, 3> Highest{15, 15, 255}; // area, line, device

[[noreturn]] void Reject(std::string_view text, const std::string& why)
{
    throw NotAnIndividualAddress("'" + std::string(text) + "' " + why);
}

std::optional<unsigned> NumberIn(std::string_view text)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos)
    {
        return std::nullopt;
    }
    unsigned number = UINT32_MAX; // stays where the text has more than that
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

IndividualAddressPattern::Range IndividualAddressPattern::Parse(std::string_view part, unsigned highest,
                                                                std::string_view text)
{
    if (part == "*")
    {
        return {0, highest};
    }
    const std::size_t dash = part.find('-');
    const auto least = NumberIn(part.substr(0, dash));
    const auto most = dash == std::string_view::npos ? least : NumberIn(part.substr(dash + 1));
    if (!least || !most)
    {
        Reject(text, "is no individual address or pattern such as 1.1.5, 1.1.* or 1.1.0-9");
    }
    if (std::max(*least, *most) > highest)
    {
        Reject(text, "is no individual address: " + std::string(part) + " should be 0 to " + std::to_string(highest));
    }
    if (*most < *least)
    {
        Reject(text, "has a range that ends before it begins: " + std::string(part));
    }
    return {*least, *most};
}

IndividualAddressPattern::IndividualAddressPattern(std::string_view text)
{
    std::string_view left = text;
    bool hasEnded = false;
    for (std::size_t level = 0; level < ranges.size(); ++level)
    {
        const std::size_t dot = left.find('.');
        const bool isLast = level + 1 == ranges.size();
        if (hasEnded)
        {
            ranges[level] = {0, Highest[level]};
            continue;
        }
        const std::string_view part = isLast ? left : left.substr(0, dot);
        if (!isLast && dot == std::string_view::npos && part != "*")
        {
            Reject(text, "is no individual address or pattern such as 1.1.5, 1.1.* or 1.1.0-9");
        }
        ranges[level] = Parse(part, Highest[level], text);
        hasEnded = dot == std::string_view::npos;
        left.remove_prefix(hasEnded ? left.size() : dot + 1);
    }
}

bool IndividualAddressPattern::Contains(uint16_t address) const
{
    const unsigned bits = address;
    const std::array<unsigned, 3> numbers{bits >> 12U, (bits >> 8U) & 0x0FU, bits & 0xFFU};
    return std::equal(numbers.begin(), numbers.end(), ranges.begin(),
                      [](unsigned number, const Range& range)
                      { return number >= range.least && number <= range.most; });
}

} // namespace Knx
