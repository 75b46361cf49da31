#pragma once

#include "Knx/DatapointType.h"
#include "Knx/HexDigits.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

/// Values of group telegrams as people write them: "21.5", "On", "red=255 green=0 blue=0".
namespace Knx
{

/// A value as a telegram carries it.
struct GroupValue
{
    Bytes bytes;          ///< what follows the APCI; of a small value one byte with the low six bits of the APCI
    bool isSmall = false; ///< up to six bits, in the APCI itself: SmallValue() of CemiText.h has them

    bool operator==(const GroupValue& other) const
    {
        return bytes == other.bytes && isSmall == other.isSmall;
    }
};

/// Makes a value of a text. A number may be followed by its unit. Between two steps it becomes the nearest one, and in the
/// middle the even one. Instead of the text of a bit or of an enumeration its number will do, and "on", "off", "true" and
/// "false" for any bit; case does not matter. A type of several fields takes "name=value name=value" in any order, or these as
/// a JSON object. Throws NotAValue.
GroupValue Encode(const DatapointType& type, std::string_view text);

/// The same for what ToJson gives. Throws NotAValue.
GroupValue EncodeJson(const DatapointType& type, const nlohmann::ordered_json& json);

/// The text of a value, with its unit: "21.5 °C"; Encode takes it. Shows also what nobody should send. Throws NotAValue only
/// when the value has another length than the type.
std::string ToText(const DatapointType& type, const GroupValue& value);

/// Without a type a value is only digits: "0x01" in the APCI, "0c1a" behind it.
std::string ToText(const GroupValue& value);

/// The same as a boolean, a number, or a text; of several fields an object with their names. What is no number is null.
/// Throws NotAValue like ToText.
nlohmann::ordered_json ToJson(const DatapointType& type, const GroupValue& value);

} // namespace Knx
