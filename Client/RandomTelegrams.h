#pragma once

#include "Knx/Datapoint.h"
#include "Knx/HexDigits.h"

#include <random>
#include <string>
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
    struct Group
    {
        uint16_t address;
        const Knx::DatapointType* type = nullptr; ///< of its values; null: random bytes
    };

    /// To these groups, one at least.
    RandomTelegrams(uint32_t seed, std::vector<Group> addressed)
        : engine(seed)
        , groups(std::move(addressed))
    {
    }

    Bytes Next();

private:
    uint32_t Below(uint32_t limit);
    Knx::GroupValue ValueOf(const Knx::DatapointType& type);
    std::string TextOf(const Knx::DatapointType& type);
    std::size_t DataSize(bool isExtended);

    std::mt19937 engine;
    std::vector<Group> groups;
};

} // namespace OrvelClient
