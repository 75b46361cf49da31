#pragma once

#include "Knx/HexDigits.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Characters of telegrams. Texts of programs are UTF-8.
namespace Knx
{

enum class Encoding : uint8_t
{
    Ascii,
    Latin1, ///< ISO 8859-1
    Utf8
};

/// How many bytes the control character at the front of a text in UTF-8 has; 0 when there is none. It would steer the terminal
/// of whoever reads the text, or show the text in another order (U+202A to U+202E, U+2066 to U+2069).
std::size_t ControlSize(std::string_view text);

/// The characters up to the first zero. Control characters, and what is no character in this encoding, become "\x1b".
std::string FromCharacters(Encoding encoding, const Bytes& bytes);

/// The same for what a person typed and reads again in an error line.
std::string Printable(std::string_view text);

/// Nothing when a character is a control character, or one that the encoding does not have.
std::optional<Bytes> ToCharacters(Encoding encoding, std::string_view text);

/// Whether they differ at most in the case of ASCII letters.
bool IsSameWord(std::string_view one, std::string_view other);

} // namespace Knx
