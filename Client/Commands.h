#pragma once

#include "Command.h"

namespace OrvelClient
{

/// Gives what the command line asks for. Throws Failure (WrongOption).
Action ActionFor(int argc, const char* const* argv);

} // namespace OrvelClient
