#pragma once

#include "Bus.h"
#include "Command.h"
#include "TimeStamp.h"

#include <cstdint>

namespace OrvelClient
{

struct ButtonOptions
{
    /// Throws Failure (WrongOption).
    explicit ButtonOptions(const CommandLine& line);

    BusOptions bus;
    TimeStamp timeStamp;
    uint64_t number; ///< of messages after which it ends; 0: goes on
};

/// Shows when the programming button is pressed and released, until it is stopped.
Command ButtonCommand();

} // namespace OrvelClient
