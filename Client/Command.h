#pragma once

#include "Failure.h"

#include "Arguments/Parser.h"

#include <functional>
#include <memory>

namespace OrvelClient
{

/// What is to be done once the command line is understood.
using Action = std::function<Status()>;

/// A command of orvelctl.
struct Command
{
    const char* name;
    const char* arguments;   ///< as the list of commands names them: "HEX", or nothing
    const char* summary;     ///< in the list of commands
    const char* usage;       ///< in its own help: what can follow its name
    const char* description; ///< in its own help
    Action (*define)(Arguments::Parser& parser);
};

/// Defines the options of a command, and makes its action: runs it with what the parser puts into them.
template<typename Options, Status (*run)(const Options&)>
Action Define(Arguments::Parser& parser)
{
    const auto options = std::make_shared<Options>();
    options->AddTo(parser);
    return [options] { return run(*options); };
}

} // namespace OrvelClient
