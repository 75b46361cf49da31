#include "Knx/Telegram.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Knx::Telegram
{

namespace
{

constexpr std::size_t InfoLengthAt = 1;
constexpr std::size_t LengthAt = 6; // from control field 1 on
constexpr std::size_t TpduAt = 8;   // from control field 1 on: so many bytes are around those behind the TPCI
constexpr uint8_t ReservedLength = 255;

// In control field 1.
constexpr uint8_t StandardFrame = 0x80;
constexpr uint8_t NotRepeated = 0x20;
constexpr uint8_t AcknowledgeWanted = 0x02;
constexpr uint8_t Failed = 0x01;

constexpr uint8_t GroupAddressed = 0x80; // in control field 2
constexpr uint8_t Hops = 6U << 4U;

constexpr std::size_t MaxStandard = 15; // bytes behind the TPCI; a longer telegram is an extended frame

bool IsComplete(const Bytes& bytes, MessageCode code)
{
    const CemiMessage cemi = Decode(bytes);
    return cemi.Is(code) && cemi.tpci && *cemi.length != ReservedLength &&
           std::all_of(cemi.info.begin(), cemi.info.end(), [](const auto& info) { return info.data.has_value(); }) &&
           bytes.size() == *PlaceOfControl1(bytes) + TpduAt + *cemi.length;
}

void Append(Bytes& bytes, uint16_t value)
{
    bytes.push_back(static_cast<uint8_t>(value >> 8U));
    bytes.push_back(static_cast<uint8_t>(value & 0xFFU));
}

} // namespace

bool IsRequest(const Bytes& cemi)
{
    return IsComplete(cemi, MessageCode::LDataReq);
}

bool IsIndication(const Bytes& cemi)
{
    return IsComplete(cemi, MessageCode::LDataInd);
}

Bytes ToIndication(const Bytes& request)
{
    constexpr std::size_t sourceAt = 2; // from control field 1 on
    Bytes indication = request;
    indication[0] = static_cast<uint8_t>(MessageCode::LDataInd);
    const std::size_t control1 = *PlaceOfControl1(request);
    // What a request asks for with these bits is not what an indication tells with them.
    indication[control1] = static_cast<uint8_t>((indication[control1] | NotRepeated) &
                                                ~(AcknowledgeWanted | Failed)); // sent once, and well
    if (Decode(request).source == 0)
    {
        indication[control1 + sourceAt] = 0xFF;
        indication[control1 + sourceAt + 1] = 0xFF;
    }
    return indication;
}

Bytes ToConfirmation(const Bytes& request, bool sent)
{
    Bytes confirmation = request;
    confirmation[0] = static_cast<uint8_t>(MessageCode::LDataCon);
    uint8_t& control1 = confirmation[*PlaceOfControl1(request)];
    control1 = static_cast<uint8_t>(sent ? control1 & ~Failed : control1 | Failed);
    return confirmation;
}

Bytes Encode(const GroupTelegram& telegram)
{
    Bytes bytes{static_cast<uint8_t>(telegram.code), 0, telegram.control1, GroupAddressed | Hops};
    Append(bytes, telegram.source);
    Append(bytes, telegram.group);
    bytes.push_back(static_cast<uint8_t>(1 + telegram.data.size()));
    Append(bytes, telegram.apci);
    bytes.insert(bytes.end(), telegram.data.begin(), telegram.data.end());
    return bytes;
}

std::chrono::nanoseconds TimeOnLine(const uint8_t* cemi, std::size_t size)
{
    constexpr int64_t BitsPerSecond = 9600;
    constexpr int64_t Idle = 53;      // bit times before a telegram
    constexpr int64_t Character = 11; // start bit, 8 bits, parity, stop bit
    constexpr int64_t Gap = 2;        // between two characters
    constexpr int64_t ToAcknowledge = 15;
    constexpr int64_t Standard = 8; // bytes around those behind the TPCI, with the checksum
    constexpr int64_t Extended = 9;

    const std::size_t control1 = size > InfoLengthAt ? InfoLengthAt + 1U + cemi[InfoLengthAt] : size;
    if (size <= control1 + LengthAt)
    {
        return {};
    }
    const uint8_t length = cemi[control1 + LengthAt];
    const bool standard = (cemi[control1] & StandardFrame) != 0 && length <= MaxStandard;
    const int64_t characters = length + (standard ? Standard : Extended);
    const int64_t bits = Idle + characters * (Character + Gap) - Gap + ToAcknowledge + Character;
    return std::chrono::nanoseconds(bits * std::chrono::nanoseconds(std::chrono::seconds(1)).count() / BitsPerSecond);
}

std::chrono::nanoseconds TimeOnLine(const Bytes& cemi)
{
    return TimeOnLine(cemi.data(), cemi.size());
}

} // namespace Knx::Telegram
