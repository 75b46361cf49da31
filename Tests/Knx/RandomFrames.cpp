#include "RandomFrames.h"

#include <algorithm>
#include <array>

using Knx::Bytes;

namespace
{

constexpr std::size_t MaxFrame = 260;

void Append(Bytes& frame, const Bytes& more)
{
    frame.insert(frame.end(), more.begin(), more.end());
}

} // namespace

// The standard library's distributions differ between libraries.
uint32_t RandomFrames::Below(uint32_t limit)
{
    return static_cast<uint32_t>(engine() % limit);
}

bool RandomFrames::Percent(uint32_t percent)
{
    return Below(100) < percent;
}

uint8_t RandomFrames::Byte()
{
    return static_cast<uint8_t>(Below(256));
}

Bytes RandomFrames::Some(std::size_t size)
{
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(), [this] { return Byte(); });
    return bytes;
}

Bytes RandomFrames::Next()
{
    Bytes frame = Percent(3) ? Some(1 + Below(40)) : Valid();
    if (Percent(30))
    {
        Spoil(frame);
    }
    frame.resize(std::min(frame.size(), MaxFrame));
    return frame;
}

Bytes RandomFrames::Valid()
{
    static const std::array<uint8_t, 13> link{0x11, 0x29, 0x2E, 0x10, 0x2D, 0x2F, 0x2B,
                                              0x13, 0x25, 0x41, 0x89, 0x4A, 0x94};
    static const std::array<uint8_t, 8> property{0xFC, 0xFB, 0xF6, 0xF5, 0xF7, 0xF8, 0xF9, 0xFA};
    static const std::array<uint8_t, 2> reset{0xF0, 0xF1};
    const uint32_t kind = Below(100);
    if (kind < 50)
    {
        return Link(link.at(Below(3))); // L_Data, which matters most
    }
    if (kind < 76)
    {
        return Link(link.at(3 + Below(10)));
    }
    if (kind < 96)
    {
        return Property(property.at(Below(8)));
    }
    return kind < 98 ? Bytes{reset.at(Below(2))} : Some(1 + Below(20));
}

Bytes RandomFrames::Link(uint8_t code)
{
    Bytes frame{code};
    AppendInfo(frame);
    switch (code)
    {
    case 0x10:
    case 0x2D:
    case 0x2F:
    case 0x2B:
        Append(frame, Some(Below(24)));
        break;
    case 0x13:
    case 0x25:
        Append(frame, Some(6));
        frame.push_back(static_cast<uint8_t>(Below(16)));
        Append(frame, Some(Below(16)));
        break;
    case 0x41:
    case 0x89:
    case 0x4A:
    case 0x94:
        Append(frame, Percent(95) ? Bytes(6) : Some(6));
        AppendTpdu(frame, 14);
        break;
    default:
        Append(frame, Some(6));
        AppendTpdu(frame, (frame[frame.size() - 6] & 0x80U) != 0 ? 14 : 253);
        break;
    }
    return frame;
}

void RandomFrames::AppendInfo(Bytes& frame)
{
    Bytes info;
    for (uint32_t elements = Percent(65) ? 0 : 1 + Below(3); elements > 0; --elements)
    {
        static const std::array<uint8_t, 13> types{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xFE, 0xFF, 0};
        static const std::array<uint8_t, 13> sizes{2, 8, 1, 2, 4, 4, 2, 4, 3, 2, 5, 0, 1};
        const uint32_t choice = Below(static_cast<uint32_t>(types.size()));
        const auto size = Percent(85) ? sizes.at(choice) : static_cast<uint8_t>(Below(12));
        info.push_back(Percent(95) ? types.at(choice) : Byte());
        info.push_back(size);
        Append(info, Some(size));
    }
    frame.push_back(static_cast<uint8_t>(info.size()));
    Append(frame, info);
}

uint16_t RandomFrames::Apci()
{
    const uint32_t kind = Below(100);
    const uint32_t value = Percent(50) ? 0 : Below(64);
    if (kind < 60)
    {
        return static_cast<uint16_t>((Below(3) << 6U) | value); // a group value
    }
    return static_cast<uint16_t>(kind < 80 ? (Below(16) << 6U) | value : Below(1024));
}

void RandomFrames::AppendTpdu(Bytes& frame, std::size_t maxData)
{
    if (Percent(12))
    {
        frame.push_back(0);
        frame.push_back(static_cast<uint8_t>(0x80U | Below(128)));
        return;
    }
    const Bytes data = Percent(25) ? Bytes{} : Some(Below(static_cast<uint32_t>(Percent(80) ? 15 : maxData + 1)));
    const uint16_t apci = Apci();
    const uint8_t tpci = Percent(60) ? 0 : static_cast<uint8_t>(Below(32) << 2U);
    frame.push_back(static_cast<uint8_t>(1 + data.size()));
    frame.push_back(static_cast<uint8_t>(tpci | (apci >> 8U)));
    frame.push_back(static_cast<uint8_t>(apci & 0xFFU));
    Append(frame, data);
}

Bytes RandomFrames::Property(uint8_t code)
{
    Bytes frame{code};
    Append(frame, Some(4));
    if (code >= 0xF8 && code <= 0xFA)
    {
        Append(frame, Some(Below(12)));
        return frame;
    }
    const bool isEmpty = Percent(20);
    frame.push_back(static_cast<uint8_t>((isEmpty ? 0 : Below(16) << 4U) | Below(16)));
    frame.push_back(Byte());
    if (code != 0xFC)
    {
        Append(frame, Some(isEmpty && Percent(80) ? 1 : Below(12)));
    }
    return frame;
}

void RandomFrames::Spoil(Bytes& frame)
{
    const uint32_t kind = Below(100);
    if (kind < 50)
    {
        frame.resize(1 + Below(static_cast<uint32_t>(frame.size())));
        return;
    }
    if (kind < 70)
    {
        Append(frame, Some(1 + Below(8)));
        return;
    }
    for (uint32_t times = 1 + Below(3); times > 0; --times)
    {
        frame.at(Below(static_cast<uint32_t>(frame.size()))) = Byte();
    }
}
