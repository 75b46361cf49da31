#pragma once

#include "Bus.h"
#include "Command.h"

#include <string>

namespace OrvelClient
{

struct StatusOptions
{
    void AddTo(Arguments::Parser& parser);

    BusOptions bus;
    std::string metricsFile;
    bool json = false;
};

/// Shows how things are with the daemon and what it makes for applications, without taking a message from anybody. Its status
/// is Failed if something is wrong.
Command StatusCommand();

} // namespace OrvelClient
