#pragma once

#include "Knx/HexDigits.h"

#include <random>

namespace OrvelClient
{

using Knx::Bytes;

/// Makes requests for group addresses as devices send them: they read, write and answer values; most are short, some
/// are extended frames. The same seed gives the same requests on every machine.
class RandomTelegrams
{
public:
    explicit RandomTelegrams(uint32_t seed)
        : engine(seed)
    {
    }

    Bytes Next();

private:
    uint32_t Below(uint32_t limit);
    std::size_t DataSize(bool isExtended);

    std::mt19937 engine;
};

} // namespace OrvelClient
