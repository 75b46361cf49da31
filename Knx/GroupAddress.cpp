#include "Knx/GroupAddress.h"

#include "Knx/TextBuffer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>

namespace Knx
{

namespace
{

constexpr const char* AnAddress = "is no group address such as 1/2/3, 1/515 or 2563";
constexpr const char* APattern = "is no group address or pattern such as 1/2/3, 1/2/* or 1/2/0-9";

// Bits of each level, by the number of levels.
constexpr std::size_t MaxLevels = 3;
constexpr std::array<std::array<unsigned, MaxLevels>, MaxLevels> Widths{{{16}, {5, 11}, {5, 3, 8}}};

[[noreturn]] void Reject(std::string_view text, const std::string& why)
{
    throw NotAGroupAddress("'" + std::string(text) + "' " + why);
}

struct Range
{
    unsigned least;
    unsigned most;
};

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

std::optional<Range> RangeIn(std::string_view text, unsigned highest)
{
    if (text == "*")
    {
        return Range{0, highest};
    }
    const std::size_t dash = text.find('-');
    const auto least = NumberIn(text.substr(0, dash));
    const auto most = dash == std::string_view::npos ? least : NumberIn(text.substr(dash + 1));
    return least && most ? std::optional(Range{*least, *most}) : std::nullopt;
}

std::vector<std::string_view> SplitAtSlashes(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (std::size_t slash = text.find('/'); slash != std::string_view::npos; slash = text.find('/'))
    {
        parts.push_back(text.substr(0, slash));
        text.remove_prefix(slash + 1);
    }
    parts.push_back(text);
    return parts;
}

// `what` the text should be.
std::vector<Range> RangesIn(std::string_view text, const std::string& what)
{
    const std::vector<std::string_view> parts = SplitAtSlashes(text);
    if (parts.size() > MaxLevels)
    {
        Reject(text, what);
    }
    std::vector<Range> ranges;
    for (const std::string_view part : parts)
    {
        const unsigned highest = (1U << Widths[parts.size() - 1][ranges.size()]) - 1;
        const auto range = RangeIn(part, highest);
        if (!range)
        {
            Reject(text, what);
        }
        if (const unsigned larger = std::max(range->least, range->most); larger > highest)
        {
            Reject(text, "is no group address: " + std::string(part) + " should be 0 to " + std::to_string(highest));
        }
        if (range->most < range->least)
        {
            Reject(text, "has a range that ends before it begins: " + std::string(part));
        }
        ranges.push_back(*range);
    }
    return ranges;
}

} // namespace

std::string GroupAddress(uint16_t address, GroupAddressStyle style)
{
    TextBuffer text;
    AddGroupAddress(text, address, style);
    return std::string(text.Text());
}

void AddGroupAddress(TextBuffer& text, uint16_t address, GroupAddressStyle style)
{
    if (style == GroupAddressStyle::Free)
    {
        text.AddNumber(address);
        return;
    }
    const unsigned bits = address;
    const auto main = static_cast<uint8_t>(bits >> 11U);
    if (style == GroupAddressStyle::TwoLevel)
    {
        text.AddNumber(main);
        text.Add('/');
        text.AddNumber(bits & 0x7FFU);
        return;
    }
    text.AddNumbers({main, static_cast<uint8_t>((bits >> 8U) & 0x07U), static_cast<uint8_t>(bits & 0xFFU)}, '/');
}

bool LooksLikeGroupAddress(std::string_view text)
{
    return !text.empty() && text.front() != '/' && text.find_first_not_of("0123456789/") == std::string_view::npos;
}

uint16_t ParseGroupAddress(std::string_view text)
{
    if (!LooksLikeGroupAddress(text))
    {
        Reject(text, AnAddress);
    }
    const std::vector<Range> numbers = RangesIn(text, AnAddress);
    unsigned address = 0;
    for (std::size_t level = 0; level < numbers.size(); ++level)
    {
        address = (address << Widths[numbers.size() - 1][level]) | numbers[level].least;
    }
    if (address == 0)
    {
        Reject(text, "addresses all devices, not a group");
    }
    return static_cast<uint16_t>(address);
}

GroupAddressPattern::GroupAddressPattern(std::string_view text)
{
    const std::vector<Range> ranges = RangesIn(text, APattern);
    for (std::size_t level = 0; level < ranges.size(); ++level)
    {
        levels.push_back({Widths[ranges.size() - 1][level], ranges[level].least, ranges[level].most});
    }
}

bool GroupAddressPattern::Contains(uint16_t address) const
{
    unsigned shift = 16;
    return std::all_of(levels.begin(), levels.end(),
                       [&shift, address](const Level& level)
                       {
                           shift -= level.bits;
                           const unsigned number = (address >> shift) & ((1U << level.bits) - 1);
                           return number >= level.least && number <= level.most;
                       });
}

std::vector<uint16_t> GroupAddressPattern::Addresses() const
{
    std::vector<uint16_t> addresses;
    for (unsigned address = 1; address <= UINT16_MAX; ++address)
    {
        if (Contains(static_cast<uint16_t>(address)))
        {
            addresses.push_back(static_cast<uint16_t>(address));
        }
    }
    return addresses;
}

} // namespace Knx
