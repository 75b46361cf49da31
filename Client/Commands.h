#pragma once

#include "Command.h"

namespace OrvelClient
{

/// All commands, in the order in which the help lists them.
std::vector<Command> Commands();

/// The help that lists the commands.
std::string GeneralHelp();

/// Gives what the command line asks for. Throws Failure (WrongOption).
Action ActionFor(int argc, const char* const* argv);

} // namespace OrvelClient
