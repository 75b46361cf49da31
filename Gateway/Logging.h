#pragma once

#include <string>

namespace OrvelGateway
{

/// Configures log4cplus, once, before anything is logged: from the property file `configFile`, or to the console from INFO
/// upward if it is empty, in the daemon's layout. Standard output shows each line when it is written.
void ConfigureLogging(const std::string& configFile);

} // namespace OrvelGateway
