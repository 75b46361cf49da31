#pragma once

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>

namespace Knx
{

/// Tells in one line what is wrong with a text that should be an individual address, or a pattern of them.
class NotAnIndividualAddress : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// Individual addresses of one form: "1.1.5", "1.1.*", "1.1.0-9", "1.*", "*". Each of area, line and device is a number, a range
/// of them or an asterisk for all; what is missing is all.
class IndividualAddressPattern
{
public:
    /// Throws NotAnIndividualAddress.
    explicit IndividualAddressPattern(std::string_view text);

    bool Contains(uint16_t address) const;

private:
    struct Range
    {
        unsigned least;
        unsigned most;
    };

    static Range Parse(std::string_view part, unsigned highest, std::string_view text);

    std::array<Range, 3> ranges; // area, line, device
};

} // namespace Knx
