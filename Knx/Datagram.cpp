#include "Knx/Datagram.h"

namespace Knx::Routing
{

namespace
{

constexpr uint8_t HeaderSize = 6;
constexpr uint8_t Version = 0x10;

constexpr uint16_t IndicationService = 0x0530;
constexpr uint16_t LostService = 0x0531;
constexpr uint16_t BusyService = 0x0532;

// Of the bodies, the first byte of which says so too.
constexpr uint8_t LostSize = 4;
constexpr uint8_t BusySize = 6;

void Append(Bytes& bytes, uint16_t value)
{
    bytes.push_back(static_cast<uint8_t>(value >> 8U));
    bytes.push_back(static_cast<uint8_t>(value & 0xFFU));
}

uint16_t ReadNumber(const Bytes& bytes, std::size_t position)
{
    return static_cast<uint16_t>((bytes[position] << 8U) | bytes[position + 1]);
}

uint16_t ServiceOf(const Datagram& datagram)
{
    struct Service
    {
        uint16_t operator()(const Indication& /*unused*/) const
        {
            return IndicationService;
        }
        uint16_t operator()(const Lost& /*unused*/) const
        {
            return LostService;
        }
        uint16_t operator()(const Busy& /*unused*/) const
        {
            return BusyService;
        }
        uint16_t operator()(const Other& other) const
        {
            return other.service;
        }
    };
    return std::visit(Service{}, datagram);
}

Bytes BodyOf(const Datagram& datagram)
{
    struct Body
    {
        Bytes operator()(const Indication& indication) const
        {
            return indication.cemi;
        }
        Bytes operator()(const Lost& lost) const
        {
            Bytes bytes{LostSize, lost.deviceState};
            Append(bytes, lost.count);
            return bytes;
        }
        Bytes operator()(const Busy& busy) const
        {
            Bytes bytes{BusySize, busy.deviceState};
            Append(bytes, busy.waitTime);
            Append(bytes, busy.control);
            return bytes;
        }
        Bytes operator()(const Other& other) const
        {
            return other.body;
        }
    };
    return std::visit(Body{}, datagram);
}

} // namespace

Bytes Encode(const Datagram& datagram)
{
    const Bytes body = BodyOf(datagram);
    Bytes bytes{HeaderSize, Version};
    Append(bytes, ServiceOf(datagram));
    Append(bytes, static_cast<uint16_t>(HeaderSize + body.size()));
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

std::optional<Datagram> Decode(const Bytes& bytes)
{
    if (bytes.size() < HeaderSize || bytes[0] != HeaderSize || bytes[1] != Version ||
        ReadNumber(bytes, 4) != bytes.size())
    {
        return std::nullopt;
    }
    const uint16_t service = ReadNumber(bytes, 2);
    const Bytes body(bytes.begin() + HeaderSize, bytes.end());
    const auto hasSize = [&body](std::size_t size) { return body.size() == size && body[0] == size; };
    switch (service)
    {
    case IndicationService:
        return Indication{body};
    case LostService:
        return hasSize(LostSize) ? std::optional<Datagram>(Lost{body[1], ReadNumber(body, 2)}) : std::nullopt;
    case BusyService:
        return hasSize(BusySize) ? std::optional<Datagram>(Busy{body[1], ReadNumber(body, 2), ReadNumber(body, 4)})
                                 : std::nullopt;
    default:
        return Other{service, body};
    }
}

} // namespace Knx::Routing
