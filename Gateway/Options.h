#pragma once

#include "Hub.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <string>

namespace OrvelGateway
{

/// What was asked of orvel-gateway.
struct Options
{
    enum class Mode
    {
        Run,
        Help,
        Version
    };

    Mode mode = Mode::Run;
    std::string socket = ORVEL_GATEWAY_SOCKET;
    std::string buttonQueue = ORVEL_PROG_BUTTON_QUEUE;
    std::string logConfigFile; ///< log4cplus property file; empty selects the built-in console set-up
    Hub::Settings hub;
    std::string help;
};

/// Throws Failure (WrongOption).
Options ParseOptions(int argc, const char* const* argv);

} // namespace OrvelGateway
