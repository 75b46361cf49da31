#pragma once

#include "Message.h"

#include "Knx/HexDigits.h"

#include <chrono>
#include <string>

/// A message with the frame `hex`, received on 21 November 2025 at 10:00:00.123456 UTC.
inline OrvelClient::Message MessageOf(const std::string& hex)
{
    OrvelClient::Message message;
    message.time = std::chrono::microseconds(1763719200123456);
    message.frame = Knx::FromHex(hex);
    return message;
}
