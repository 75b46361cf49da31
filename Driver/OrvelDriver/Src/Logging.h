#pragma once

#include <string>

namespace OrvelDriver
{

/// From now on standard output shows each line when it is written. To be called before anything is written to it.
void WriteOutputByLine();

/// Configures log4cplus, once, before any component is built: from the property file `configFile`, or to the console
/// from DEBUG upward when it is empty. What log4cplus makes of a missing or malformed file is accepted as it is.
void ConfigureLogging(const std::string& configFile);

} // namespace OrvelDriver
