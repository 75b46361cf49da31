#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace OrvelClient
{

struct GenerateOptions
{
    double rate = 10;             ///< telegrams a second
    uint64_t number = 0;          ///< of telegrams; 0: goes on
    std::optional<uint32_t> seed; ///< none: another one each time
    bool print = false;           ///< the telegrams are shown instead of sent
    std::chrono::milliseconds wait{1000};
};

/// Sends random telegrams until it is stopped. Throws Failure.
void Generate(const GenerateOptions& options);

} // namespace OrvelClient
