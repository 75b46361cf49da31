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

/// The characters up to the first zero. Control characters would reach the terminal of whoever reads the text: they, and what
/// is no character in this encoding, become "\x1b".
std::string FromCharacters(Encoding encoding, const Bytes& bytes);

/// Nothing when a character is a control character, or one that the encoding does not have.
std::optional<Bytes> ToCharacters(Encoding encoding, std::string_view text);

} // namespace Knx
