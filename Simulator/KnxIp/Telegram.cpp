#include "Telegram.h"

#include <cstddef>
#include <cstdint>

namespace Simulator::Telegram
{

namespace
{

constexpr uint8_t Request = 0x11;
constexpr uint8_t IndicationCode = 0x29;

// Positions, seen from the first control field.
constexpr std::size_t Source = 2;
constexpr std::size_t Size = 6;
constexpr std::size_t Tpci = 7;
constexpr uint8_t ReservedSize = 255;

// In the first control field.
constexpr uint8_t StandardFrame = 0x80;
constexpr uint8_t NotRepeated = 0x20;
constexpr uint8_t AcknowledgeWanted = 0x02;
constexpr uint8_t Failed = 0x01;

constexpr std::size_t MaxStandard = 15; // bytes behind the TPCI; a longer telegram is an extended frame

// Only of a message that is complete.
std::size_t ControlField(const Bytes& cemi)
{
    return 2U + cemi[1];
}

// Elements of a type, a size, and so many bytes.
bool IsInformation(const uint8_t* bytes, std::size_t size)
{
    while (size >= 2 && size >= 2U + bytes[1])
    {
        const std::size_t element = 2U + bytes[1];
        bytes += element;
        size -= element;
    }
    return size == 0;
}

bool IsComplete(const Bytes& cemi, uint8_t code)
{
    if (cemi.size() < 2 || cemi[0] != code || cemi.size() <= ControlField(cemi) + Tpci)
    {
        return false;
    }
    const uint8_t size = cemi[ControlField(cemi) + Size];
    return size != ReservedSize && IsInformation(&cemi[2], cemi[1]) &&
           cemi.size() == ControlField(cemi) + Tpci + 1 + size;
}

} // namespace

bool IsRequest(const Bytes& cemi)
{
    return IsComplete(cemi, Request);
}

bool IsIndication(const Bytes& cemi)
{
    return IsComplete(cemi, IndicationCode);
}

Bytes ToIndication(const Bytes& request)
{
    Bytes indication = request;
    indication[0] = IndicationCode;
    const std::size_t control = ControlField(request);
    // What a request asks for with these bits is not what an indication tells with them.
    indication[control] = static_cast<uint8_t>((indication[control] | NotRepeated) &
                                               ~(AcknowledgeWanted | Failed)); // sent once, and well
    if (indication[control + Source] == 0 && indication[control + Source + 1] == 0)
    {
        indication[control + Source] = 0xFF;
        indication[control + Source + 1] = 0xFF;
    }
    return indication;
}

std::chrono::nanoseconds TimeOnLine(const Bytes& cemi)
{
    constexpr int64_t BitsPerSecond = 9600;
    constexpr int64_t Idle = 53;      // bit times before a telegram
    constexpr int64_t Character = 11; // start bit, 8 bits, parity, stop bit
    constexpr int64_t Gap = 2;        // between two characters
    constexpr int64_t ToAcknowledge = 15;
    constexpr int64_t Standard = 8; // bytes around those behind the TPCI, with the checksum
    constexpr int64_t Extended = 9;

    const std::size_t control = ControlField(cemi);
    const std::size_t size = cemi[control + Size];
    const bool standard = (cemi[control] & StandardFrame) != 0 && size <= MaxStandard;
    const int64_t characters = static_cast<int64_t>(size) + (standard ? Standard : Extended);
    const int64_t bits = Idle + characters * (Character + Gap) - Gap + ToAcknowledge + Character;
    return std::chrono::nanoseconds(bits * std::chrono::nanoseconds(std::chrono::seconds(1)).count() / BitsPerSecond);
}

} // namespace Simulator::Telegram
