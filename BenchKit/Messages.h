#pragma once

#include "Knx/HexDigits.h"

#include <string>

/// The message that carries this frame: its size byte comes first, which of longer frames than 255 bytes has the lowest bits.
inline Knx::Bytes WithSize(Knx::Bytes frame)
{
    frame.insert(frame.begin(), static_cast<uint8_t>(frame.size()));
    return frame;
}

/// The same in hexadecimal digits.
inline std::string AsMessage(const std::string& frame)
{
    return Knx::ToHex(WithSize(Knx::FromHex(frame)));
}
