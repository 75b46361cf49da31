#pragma once

#include "Hub.h"
#include "Network.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <optional>
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
    std::string metrics;       ///< file for them; empty: none
    Hub::Settings hub;
    std::optional<Network::Settings> network;
    std::string help;
};

/// Throws Failure (WrongOption).
Options ParseOptions(int argc, const char* const* argv);

} // namespace OrvelGateway
