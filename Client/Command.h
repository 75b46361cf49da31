#pragma once

#include "Failure.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace OrvelClient
{

class CommandLine;

/// An option of a command.
struct Option
{
    enum class Kind
    {
        Flag,  ///< takes no value
        Value, ///< takes a value; the last one counts
        Values ///< takes a value, or several between commas; all of them count
    };

    std::string names; ///< "wait", or "n,number" where it has a letter too
    std::string text;  ///< in the command's help
    Kind kind = Kind::Value;
};

/// What is to be done once the command line is understood.
using Action = std::function<Status()>;

/// A command of orvelctl.
struct Command
{
    const char* name;
    const char* arguments;       ///< as the list of commands names them: "HEX", or nothing
    const char* summary;         ///< in the list of commands
    const char* usage;           ///< in its own help: what can follow its name
    const char* description;     ///< in its own help
    std::vector<Option> options; ///< all but --help
    std::size_t maxArguments;
    Action (*prepare)(const CommandLine& line); ///< throws Failure (WrongOption)
};

/// Makes the action of a command: takes its options from the line now, and runs it with them later.
template<typename Options, Status (*run)(const Options&)>
Action Prepare(const CommandLine& line)
{
    return [options = Options(line)] { return run(options); };
}

} // namespace OrvelClient
