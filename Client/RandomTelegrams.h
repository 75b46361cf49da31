#pragma once

#include "HexDigits.h"

#include <random>

namespace OrvelClient
{

/// Requests for group addresses as devices send them, the same for the same seed on every machine: values read, written
/// and answered, most of them short, some in extended frames.
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
