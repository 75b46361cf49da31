#pragma once

#include <cstddef>
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

constexpr std::size_t MaxTelegram = 1024; ///< bytes; the line's own limit, beyond that of the driver, which tests need

/// A telegram as a person types it: 1 to MaxTelegram bytes. Nothing when `text` is anything else.
std::optional<Bytes> TelegramFromHex(const std::string& text);

} // namespace Simulator
