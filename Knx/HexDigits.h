#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Knx
{

using Bytes = std::vector<uint8_t>;

/// "11 00 bc"; with another separator, or none, that instead of the space.
std::string ToHex(const Bytes& bytes, std::string_view separator = " ");

/// "0x0b9": so many digits at least.
std::string HexNumber(uint16_t number, int digits);

/// Tells in one line what is wrong with a text, and where.
class NotHex : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// Two digits a byte; blanks and colons may stand between bytes. What is before `position` is not looked at. Throws NotHex.
Bytes FromHex(std::string_view text, std::size_t position = 0);

/// The same, in the room of bytes that are no longer needed: whoever reads a million texts allocates a few times only.
void FromHex(std::string_view text, std::size_t position, Bytes& bytes);

} // namespace Knx
