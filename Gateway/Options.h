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
    std::string print; ///< this instead of serving: the help or the version
    std::string socket = ORVEL_GATEWAY_SOCKET;
    std::string buttonQueue = ORVEL_PROG_BUTTON_QUEUE;
    std::string logConfigFile; ///< log4cplus property file; empty selects the built-in console set-up
    std::string metrics;       ///< file for them; empty: none
    Hub::Settings hub;
    std::optional<Network::Settings> network;
};

/// Throws Failure (WrongOption).
Options ParseOptions(int argc, const char* const* argv);

} // namespace OrvelGateway
