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
    /// Throws Failure (WrongOption).
    explicit GenerateOptions(const CommandLine& line);

    GroupPatterns groups;
    std::string type; ///< of their values; empty: that of the group, and random bytes where it has none
    NamesFile names;
    double rate;                  ///< telegrams a second
    uint64_t number;              ///< of telegrams; 0: goes on
    std::optional<uint32_t> seed; ///< none: another one each time
    bool print;                   ///< the telegrams are shown instead of sent
    std::chrono::milliseconds wait;
    BusOptions bus;
};

/// Sends random telegrams until it is stopped.
Command GenerateCommand();

} // namespace OrvelClient
