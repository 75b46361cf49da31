#pragma once

#include "Knx/DatapointType.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

/// One field of a value that is no text: its bits in a telegram, and what they mean.
namespace Knx
{

/// Whether they differ at most in the case of their ASCII letters.
bool IsSameWord(std::string_view one, std::string_view other);

/// The bits of a text. Throws NotAValue.
uint64_t EncodeField(const DatapointType& type, const DatapointField& field, std::string_view text);

/// Appends the text of the bits, with the unit.
void AppendField(std::string& text, const DatapointField& field, uint64_t bits);

/// What the bits mean: nothing, a bit, a number, or one of the texts of an enumeration.
using FieldMeaning = std::variant<std::monostate, bool, int64_t, double, std::string_view>;

FieldMeaning MeaningOf(const DatapointField& field, uint64_t bits);

/// "9.001: -273 to 670433.28 °C"; of a type of several fields "10.001 hour: 0 to 23".
std::string AllowedIn(const DatapointType& type, const DatapointField& field);

} // namespace Knx
