#pragma once

#include "Bus.h"
#include "Command.h"
#include "GroupNames.h"
#include "GroupPatterns.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace OrvelClient
{

struct GenerateOptions
{
    void AddTo(Arguments::Parser& parser);

    GroupPatterns groups;
    std::string type; ///< of their values; empty: that of the group, and random bytes where it has none
    NamesFile names;
    double rate = 10;             ///< telegrams a second
    uint64_t number = 0;          ///< of telegrams; 0: goes on
    std::optional<uint32_t> seed; ///< none: another one each time
    bool print = false;           ///< the telegrams are shown instead of sent
    std::chrono::milliseconds wait{1000};
    BusOptions bus;
};

/// Sends random telegrams until it is stopped.
Command GenerateCommand();

} // namespace OrvelClient
