#pragma once

#include "GroupOptions.h"

#include <chrono>
#include <string>

namespace OrvelClient
{

struct WriteOptions
{
    void AddTo(Arguments::Parser& parser);

    GroupOptions group;
    std::string value;
    bool print = false; ///< the frame is shown instead of sent
    std::chrono::milliseconds wait{1000};
    BusOptions bus;
};

/// Writes the value of a group.
Command WriteCommand();

} // namespace OrvelClient
