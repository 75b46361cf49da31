#pragma once

#include "Command.h"
#include "CommonOptions.h"
#include "Filter.h"
#include "Formatter.h"
#include "GroupNames.h"

#include <string>

namespace OrvelClient
{

struct DecodeOptions
{
    /// Throws Failure (WrongOption).
    explicit DecodeOptions(const CommandLine& line);

    std::string file; ///< "-" is standard input
    Form form;
    TimeStamp timeStamp;
    LookOptions look;
    Filter filter;
    NamesFile names;
};

/// Shows what was recorded, whatever it was recorded in, and writes it in another form.
Command DecodeCommand();

} // namespace OrvelClient
