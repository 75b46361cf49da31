#pragma once

#include "Knx/HexDigits.h"

#include <random>

/// cEMI frames of every kind, good and bad, the same for the same seed on every machine.
class RandomFrames
{
public:
    explicit RandomFrames(uint32_t seed)
        : engine(seed)
    {
    }

    /// 1 to 260 bytes.
    Knx::Bytes Next();

private:
    Knx::Bytes Valid();
    Knx::Bytes Link(uint8_t code);
    Knx::Bytes Property(uint8_t code);

    void AppendInfo(Knx::Bytes& frame);
    void AppendTpdu(Knx::Bytes& frame, std::size_t maxData);
    uint16_t Apci();
    void Spoil(Knx::Bytes& frame);

    uint32_t Below(uint32_t limit);
    bool Percent(uint32_t percent);
    uint8_t Byte();
    Knx::Bytes Some(std::size_t size);

    std::mt19937 engine;
};
