#pragma once

#include <cstdint>

namespace OrvelDriver
{

/// Tags of the link's messages.
constexpr uint16_t TopicCemi = 256;   ///< one raw cEMI frame per message, both directions
constexpr uint16_t TopicDevice = 257; ///< LEDs and programming button; the first byte is the message type

} // namespace OrvelDriver
