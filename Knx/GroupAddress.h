#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Knx
{

class TextBuffer;

/// How an installation divides the 16 bits of its group addresses; on the bus they are the same.
enum class GroupAddressStyle
{
    ThreeLevel, ///< "1/2/3": 5, 3 and 8 bits
    TwoLevel,   ///< "1/515": 5 and 11 bits
    Free        ///< "2563"
};

std::string GroupAddress(uint16_t address, GroupAddressStyle style = GroupAddressStyle::ThreeLevel);
void AddGroupAddress(TextBuffer& text, uint16_t address, GroupAddressStyle style = GroupAddressStyle::ThreeLevel);

/// Tells in one line what is wrong with a text that should be a group address, or a pattern of them.
class NotAGroupAddress : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// Whether the text is meant as an address, right or wrong, and not as a name: digits and slashes, a digit first.
bool LooksLikeGroupAddress(std::string_view text);

/// The address in any of the styles; the number of its levels says which. Throws NotAGroupAddress, also for 0/0/0, which
/// addresses all devices and no group.
uint16_t ParseGroupAddress(std::string_view text);

/// Group addresses of one form: "1/2/3", "1/2/*", "1/2/0-9", "1/*", "512-1023", "*". Each level is a number, a range of them or
/// an asterisk for all. The number of levels says how an address is divided: "1/0-300" has two, and means 1/0/0 to 1/1/44.
class GroupAddressPattern
{
public:
    /// Throws NotAGroupAddress.
    explicit GroupAddressPattern(std::string_view text);

    bool Contains(uint16_t address) const;

    /// In their order; without 0/0/0, which is no group.
    std::vector<uint16_t> Addresses() const;

private:
    struct Level
    {
        unsigned bits;
        unsigned least;
        unsigned most;
    };

    std::vector<Level> levels;
};

} // namespace Knx
