#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

using Bytes = std::vector<uint8_t>;

/// "11 00 bc"
std::string ToHex(const Bytes& bytes);

/// Two digits a byte; spaces and colons may stand between bytes. Nothing when `text` is anything else.
std::optional<Bytes> FromHex(const std::string& text);

} // namespace Simulator
