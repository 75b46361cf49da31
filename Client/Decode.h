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
    void AddTo(Arguments::Parser& parser);

    std::string file = "-"; ///< "-" is standard input
    Form form = Form::Text;
    TimeStamp timeStamp = TimeStamp::Absolute;
    LookOptions look;
    Filter filter;
    NamesFile names;
};

/// Shows what was recorded, whatever it was recorded in, and writes it in another form.
Command DecodeCommand();

} // namespace OrvelClient
