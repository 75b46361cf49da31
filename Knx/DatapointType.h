#pragma once

#include "Knx/Characters.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Knx
{

enum class FieldKind : uint8_t
{
    Reserved,    ///< sent as 0, and whatever was received is ignored
    Bit,         ///< `texts` has the one for 0 and the one for 1: "Off|On"
    Unsigned,    ///< shown as raw * multiplier / divisor + offset
    Signed,      ///< two's complement, shown like Unsigned
    ShortYear,   ///< 90 to 99 are 1990 to 1999, all others 2000 and later
    Float16,     ///< 0.01 * m * 2^e; 0x7FFF is "invalid"
    Float32,     ///< IEEE 754
    Enumeration, ///< `texts` has those that have one: "0=auto|1=oil"; all others are numbers
    Characters,  ///< `bits` of them, filled up with zeros; the only field of its type
    Line         ///< the same, but a shorter one ends with a zero
};

/// Tells in one line, without a newline, what would have been allowed: "9.001: -273 to 670433.28 °C".
class NotAValue : public std::invalid_argument
{
public:
    using std::invalid_argument::invalid_argument;
};

/// A part of a value. The first field of a type is the most significant one.
struct DatapointField
{
    FieldKind kind = FieldKind::Reserved;
    Encoding encoding = Encoding::Ascii; ///< of characters
    uint16_t bits = 0;
    int8_t preset = -1;     ///< of a bit: what it is when nobody says; -1: somebody has to
    std::string_view name;  ///< empty when the value has only this field
    std::string_view texts; ///< separated by '|'
    std::string_view unit;

    /// What may be sent: as it is in the telegram; of Float16 and Float32 in hundredths. What was received may be anything.
    int64_t lowest = 0;
    int64_t highest = 0;

    uint16_t multiplier = 1;
    uint16_t divisor = 1;
    int16_t offset = 0;

    bool IsReserved() const
    {
        return kind == FieldKind::Reserved;
    }
};

/// A datapoint type: how a value is written in a telegram, and what it means.
struct DatapointType
{
    static constexpr uint16_t Main = 0xFFFF; ///< instead of a sub number; 14.000 is a sub type

    uint16_t main = 0;
    uint16_t sub = Main;
    uint16_t bits = 0;
    std::string_view name; ///< "temperature (°C)"
    const DatapointField* firstField = nullptr;
    const DatapointField* endOfFields = nullptr;

    const DatapointField* begin() const
    {
        return firstField;
    }
    const DatapointField* end() const
    {
        return endOfFields;
    }

    /// Whether a value has up to six bits, which stand in the low bits of the APCI byte. A longer one follows that byte.
    bool IsSmall() const
    {
        return bits <= 6;
    }

    /// Bytes of a value; of a line the most that it can have.
    std::size_t Size() const
    {
        return (bits + 7U) / 8U;
    }

    /// "9.001"; of a main type "9".
    std::string Number() const;
};

/// All types, sorted by their numbers. A main type stands before its sub types.
struct DatapointTypes
{
    static const DatapointType* begin();
    static const DatapointType* end();
};

/// The type with that number, written in any of the usual ways: "9.001", "DPT 9.001", "DPST-9-1"; "9" and "DPT-9" are the
/// main type. Null when there is none. The types live as long as the program.
const DatapointType* FindDatapointType(std::string_view number);

/// The same, but throws NotAValue when there is none.
const DatapointType& DatapointTypeOf(std::string_view number);

} // namespace Knx
