#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// Checks the daemon and the libraries that the loader finds for it. Does not run the daemon.
Findings CheckProgram(const std::string& driver);

} // namespace OrvelClient
