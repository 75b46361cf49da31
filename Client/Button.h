#pragma once

#include "Bus.h"
#include "Command.h"
#include "TimeStamp.h"

#include <cstdint>

namespace OrvelClient
{

struct ButtonOptions
{
    void AddTo(Arguments::Parser& parser);

    BusOptions bus;
    TimeStamp timeStamp = TimeStamp::Absolute;
    uint64_t number = 0; ///< of messages after which it ends; 0: goes on
};

/// Shows when the programming button is pressed and released, until it is stopped.
Command ButtonCommand();

} // namespace OrvelClient
