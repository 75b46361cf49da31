#pragma once

#include "Monitor.h"
#include "Send.h"

#include <string>

namespace OrvelClient
{

/// What was asked of orvelctl.
struct Options
{
    enum class Command
    {
        Help,
        Send,
        Monitor
    };

    Command command = Command::Help;
    SendOptions send;
    MonitorOptions monitor;
    std::string help;
};

/// Throws Failure (WrongOption).
Options ParseOptions(int argc, const char* const* argv);

} // namespace OrvelClient
