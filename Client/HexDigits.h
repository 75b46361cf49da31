#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OrvelClient
{

using Bytes = std::vector<uint8_t>;

/// "11 00 bc"; with another separator, or none, that instead of the space.
std::string ToHex(const Bytes& bytes, std::string_view separator = " ");

/// Two digits a byte; blanks and colons may stand between bytes, and what follows '#' is a comment.
/// Throws Failure (NotUnderstood) with what is wrong and where.
Bytes FromHex(std::string_view text);

} // namespace OrvelClient
