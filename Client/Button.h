#pragma once

#include "Log.h"

#include "Orvel/Protocol.h"

#include <cstdint>
#include <string>

namespace OrvelClient
{

struct ButtonOptions
{
    std::string queue = ORVEL_PROG_BUTTON_QUEUE;
    TimeStamp timeStamp = TimeStamp::Absolute;
    uint64_t number = 0; ///< of messages after which it ends; 0: goes on
};

/// Shows when the programming button is pressed and released, until it is stopped. Throws Failure.
void Button(const ButtonOptions& options);

} // namespace OrvelClient
