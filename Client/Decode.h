#pragma once

#include "Command.h"
#include "TimeStamp.h"

#include <string>

namespace OrvelClient
{

struct DecodeOptions
{
    enum class Format
    {
        Text,
        Json,
        Capture,
        TelegramLog
    };

    /// Throws Failure (WrongOption).
    explicit DecodeOptions(const CommandLine& line);

    std::string file; ///< "-" is standard input
    Format format;
    TimeStamp timeStamp;
};

/// Shows what was recorded, whatever it was recorded in, and writes it in another form.
Command DecodeCommand();

} // namespace OrvelClient
