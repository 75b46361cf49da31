#pragma once

#include "Knx/HexDigits.h"

#include <random>
#include <utility>
#include <vector>

namespace OrvelClient
{

using Knx::Bytes;

/// Makes requests for group addresses as devices send them: they read, write and answer values; most are short, some
/// are extended frames. The same seed gives the same requests on every machine.
class RandomTelegrams
{
public:
    /// To these groups, one at least.
    RandomTelegrams(uint32_t seed, std::vector<uint16_t> addresses)
        : engine(seed)
        , groups(std::move(addresses))
    {
    }

    Bytes Next();

private:
    uint32_t Below(uint32_t limit);
    std::size_t DataSize(bool isExtended);

    std::mt19937 engine;
    std::vector<uint16_t> groups;
};

} // namespace OrvelClient
