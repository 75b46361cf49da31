#pragma once

#include "GroupOptions.h"

#include <chrono>

namespace OrvelClient
{

struct ReadOptions
{
    void AddTo(Arguments::Parser& parser);

    GroupOptions group;
    bool follow = false;                     ///< goes on with each value that the group gets
    bool print = false;                      ///< the frame is shown instead of sent
    std::chrono::milliseconds timeout{3000}; ///< for the answer
    std::chrono::milliseconds wait{1000};
    BusOptions bus;
};

/// Asks for the value of a group.
Command ReadCommand();

} // namespace OrvelClient
