#pragma once

#include "Knx/HexDigits.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Simulator
{

constexpr std::size_t MaxTelegram = 1024; ///< bytes; the line's own limit, beyond that of the driver, which tests need

/// A telegram as a person types it: 1 to MaxTelegram bytes. Nothing when `text` is anything else.
std::optional<Knx::Bytes> TelegramFromHex(const std::string& text);

} // namespace Simulator
