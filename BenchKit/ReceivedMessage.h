#pragma once

#include "Message.h"

#include "Knx/HexDigits.h"

#include <chrono>
#include <string>

/// 21 November 2025, 10:00:00.123456 UTC.
constexpr std::chrono::microseconds ReceivedAt{1763719200123456};

/// A message of the client's with the frame `hex`, received at that time.
inline OrvelClient::Message MessageOf(const std::string& hex)
{
    OrvelClient::Message message;
    message.time = ReceivedAt;
    message.frame = Knx::FromHex(hex);
    return message;
}
