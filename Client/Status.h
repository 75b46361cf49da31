#pragma once

#include "Bus.h"
#include "Command.h"

#include <string>

namespace OrvelClient
{

struct StatusOptions
{
    /// Throws Failure (WrongOption).
    explicit StatusOptions(const CommandLine& line);

    BusOptions bus;
    std::string metricsFile;
    bool json;
};

/// Shows how things are with the daemon and what it makes for applications, without taking a message from anybody. Its status
/// is Failed if something is wrong.
Command StatusCommand();

} // namespace OrvelClient
