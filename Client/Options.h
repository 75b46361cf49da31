#pragma once

#include "Button.h"
#include "Check.h"
#include "Generate.h"
#include "Led.h"
#include "Monitor.h"
#include "Replay.h"
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
        Version,
        Send,
        Monitor,
        Replay,
        Generate,
        Button,
        Led,
        Check
    };

    Command command = Command::Help;
    SendOptions send;
    MonitorOptions monitor;
    ReplayOptions replay;
    GenerateOptions generate;
    ButtonOptions button;
    LedOptions led;
    CheckOptions check;
    std::string help;
};

/// Throws Failure (WrongOption).
Options ParseOptions(int argc, const char* const* argv);

} // namespace OrvelClient
