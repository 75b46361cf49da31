#pragma once

#include "Message.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

namespace OrvelClient
{

/// What went over the bus within a while.
class Statistics
{
public:
    void Add(const Message& message);

    /// Several lines about what was added since the last report, which was `passed` ago; `stamp` says when this one is.
    std::string Report(std::string_view stamp, std::chrono::nanoseconds passed);

private:
    using Counts = std::map<std::string, uint64_t>;

    uint64_t telegrams = 0; // on the bus
    std::chrono::nanoseconds onLine{};
    Counts kinds;
    Counts services;
    Counts groups;
    Counts sources;
};

} // namespace OrvelClient
