#pragma once

#include "Knx/HexDigits.h"
#include "Knx/KnownGroups.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Simulator
{

constexpr std::size_t MaxTelegram = 1024; ///< bytes; the line's own limit, beyond that of the driver, which tests need

/// Tells in one line what is wrong with a telegram that a person has typed.
class NotATelegram : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// A telegram from KNX as a person types it: a cEMI frame of 1 to MaxTelegram bytes in hexadecimal digits; or a group, which is
/// an address or a name, its value, and the value's type unless `groups` know it: `1/2/3 21.5 9.001`,
/// `"Living room/Ceiling" on`. An address without slashes needs the type. Throws NotATelegram.
Knx::Bytes TelegramFrom(const std::string& text, const Knx::KnownGroups& groups);

/// One that reads the value of the group in `text`. Throws NotATelegram.
Knx::Bytes ReadFrom(const std::string& text, const Knx::KnownGroups& groups);

} // namespace Simulator
