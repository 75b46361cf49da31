#include "RandomTelegrams.h"

#include "GroupRequest.h"

#include "Knx/Telegram.h"
#include "Orvel/Protocol.h"

#include <algorithm>
#include <array>
#include <cstdlib>

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

// A text that a person might type where bytes at random would be nonsense; empty for other types.
std::string RandomTelegrams::TextOf(const Knx::DatapointType& type)
{
    constexpr int64_t coldest = -2000; // hundredths of whatever it is
    constexpr int64_t hottest = 10000;
    const Knx::DatapointField& field = *type.begin();
    switch (field.kind)
    {
    case Knx::FieldKind::Characters:
    case Knx::FieldKind::Line:
        return ("text " + std::to_string(Below(1000))).substr(0, type.Size());
    case Knx::FieldKind::Float16:
    case Knx::FieldKind::Float32:
    {
        const int64_t least = std::clamp(coldest, field.lowest, field.highest);
        const int64_t most = std::clamp(hottest, field.lowest, field.highest);
        const int64_t hundredths = least + Below(static_cast<uint32_t>(most - least + 1));
        return (hundredths < 0 ? "-" : "") + std::to_string(std::abs(hundredths) / 100) + "." +
               std::to_string(std::abs(hundredths) / 10 % 10) + std::to_string(std::abs(hundredths) % 10);
    }
    default:
        return "";
    }
}

Knx::GroupValue RandomTelegrams::ValueOf(const Knx::DatapointType& type)
{
    constexpr int attempts = 1000; // enough to meet one that may be sent, as even a date with a time is one in twenty
    if (const std::string text = TextOf(type); !text.empty() && type.begin() + 1 == type.end())
    {
        return Encode(type, text);
    }
    Knx::GroupValue value{Bytes(type.Size()), type.IsSmall()};
    for (int attempt = 0; attempt < attempts; ++attempt)
    {
        for (uint8_t& byte : value.bytes)
        {
            byte = static_cast<uint8_t>(Below(type.IsSmall() ? 1U << type.bits : 256));
        }
        try
        {
            return Encode(type, ToText(type, value)); // nothing that nobody should send
        }
        catch (const Knx::NotAValue&)
        {
            continue;
        }
    }
    return {Bytes(type.Size()), type.IsSmall()};
}

Bytes RandomTelegrams::Next()
{
    static const std::array<uint8_t, 8> services{Write, Write, Write, Write, Write, Response, Response, Read};
    static const std::array<uint8_t, 8> priorities{0x0C, 0x0C, 0x0C, 0x0C, 0x0C, 0x0C, 0x08, 0x04}; // low to normal
    const uint8_t service = services.at(Below(services.size()));
    const bool isLong = service != Read && Below(2) == 0;
    const bool isExtended = isLong && Below(8) == 0;
    const Group& group = groups[Below(static_cast<uint32_t>(groups.size()))];
    if (group.type != nullptr)
    {
        return service == Read ? GroupRequest(GroupService::Read, group.address)
                               : GroupRequest(service == Write ? GroupService::Write : GroupService::Response,
                                              group.address, ValueOf(*group.type));
    }
    const auto control1 = static_cast<uint8_t>((isExtended ? 0x30U : 0xB0U) | priorities.at(Below(priorities.size())));
    const std::size_t dataSize = isLong ? DataSize(isExtended) : 0;
    const uint32_t shortValue = isLong || service == Read ? 0 : Below(64);

    Knx::Telegram::GroupTelegram telegram;
    telegram.control1 = control1;
    telegram.group = group.address;
    telegram.apci = static_cast<uint16_t>(service | shortValue);
    for (std::size_t count = 0; count < dataSize; ++count)
    {
        telegram.data.push_back(static_cast<uint8_t>(Below(256)));
    }
    return Encode(telegram);
}

} // namespace OrvelClient
