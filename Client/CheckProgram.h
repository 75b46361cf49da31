#pragma once

#include "Finding.h"

namespace OrvelClient
{

/// The daemon and the libraries that the loader finds for it. The daemon is not run.
Findings CheckProgram(const std::string& driver);

} // namespace OrvelClient
