#include "RandomTelegrams.h"

#include "Knx/Telegram.h"
#include "Orvel/Protocol.h"

#include <array>

namespace OrvelClient
{

namespace
{

constexpr std::size_t Overhead = 11; // bytes of a frame beside its data
constexpr std::size_t MaxStandardData = 14;
constexpr std::size_t MaxExtendedData = ORVEL_CEMI_MAX_FRAME_TO_LL - Overhead;

constexpr uint8_t Read = 0x00; // the low byte of the APCI
constexpr uint8_t Response = 0x40;
constexpr uint8_t Write = 0x80;

} // namespace

// The standard library's distributions differ between libraries.
uint32_t RandomTelegrams::Below(uint32_t limit)
{
    return static_cast<uint32_t>(engine() % limit);
}

std::size_t RandomTelegrams::DataSize(bool isExtended)
{
    return isExtended ? MaxStandardData + 1 + Below(MaxExtendedData - MaxStandardData) : 1 + Below(MaxStandardData);
}

Bytes RandomTelegrams::Next()
{
    static const std::array<uint8_t, 8> services{Write, Write, Write, Write, Write, Response, Response, Read};
    static const std::array<uint8_t, 8> priorities{0x0C, 0x0C, 0x0C, 0x0C, 0x0C, 0x0C, 0x08, 0x04}; // low to normal
    const uint8_t service = services.at(Below(services.size()));
    const bool isLong = service != Read && Below(2) == 0;
    const bool isExtended = isLong && Below(8) == 0;
    const uint16_t group = groups[Below(static_cast<uint32_t>(groups.size()))];
    const auto control1 = static_cast<uint8_t>((isExtended ? 0x30U : 0xB0U) | priorities.at(Below(priorities.size())));
    const std::size_t dataSize = isLong ? DataSize(isExtended) : 0;
    const uint32_t shortValue = isLong || service == Read ? 0 : Below(64);

    Knx::Telegram::GroupTelegram telegram;
    telegram.control1 = control1;
    telegram.group = group;
    telegram.apci = static_cast<uint16_t>(service | shortValue);
    for (std::size_t count = 0; count < dataSize; ++count)
    {
        telegram.data.push_back(static_cast<uint8_t>(Below(256)));
    }
    return Encode(telegram);
}

} // namespace OrvelClient
