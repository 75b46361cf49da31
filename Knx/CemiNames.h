#pragma once

#include <cstdint>
#include <string>

namespace Knx
{

// Names as KNX has them. Those without one are given as a number.

std::string NameOfMessageCode(uint8_t code); ///< "L_Data.ind"; empty when there is no such code
std::string NameOfInfo(uint8_t type);        ///< of an element of the additional information
std::string NameOfPriority(unsigned priority);
std::string NameOfPropertyError(uint8_t error);

/// "1.2.3"
std::string IndividualAddress(uint16_t address);

/// What the APCI asks for. Some services take all of its ten bits, others four and leave six for a value.
struct Service
{
    std::string name; ///< "A_GroupValue_Write"; empty when there is no such service
    bool isShort;     ///< four bits
    uint8_t value;    ///< the other six
};

Service ServiceOf(uint16_t apci);

} // namespace Knx
