#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Knx
{

class TextBuffer;

// Names as KNX has them.

std::string_view NameOfMessageCode(uint8_t code); ///< "L_Data.ind"; empty when there is no such code
std::string_view NameOfPriority(unsigned priority);

// The same; those without a name are given as a number.

std::string NameOfInfo(uint8_t type); ///< of an element of the additional information
std::string NameOfPropertyError(uint8_t error);

/// "1.2.3"
std::string IndividualAddress(uint16_t address);
void AddIndividualAddress(TextBuffer& text, uint16_t address);

/// What the APCI asks for. Some services take all of its ten bits, others four and leave six for a value.
struct Service
{
    std::string_view name; ///< "A_GroupValue_Write"; empty when there is no such service
    bool isShort;          ///< four bits
    uint8_t value;         ///< the other six
};

/// Of ten bits.
Service ServiceOf(uint16_t apci);

} // namespace Knx
