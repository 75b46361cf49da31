#pragma once

#include "Bus.h"
#include "Command.h"
#include "Formatter.h"
#include "TimeStamp.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace OrvelClient
{

// Options that several commands have, and their values. What takes a value throws Failure (WrongOption).

Option TimeOption();
TimeStamp TakeTimeStamp(const CommandLine& line);

/// How lines look, as the person wants it.
struct LookOptions
{
    enum class Color
    {
        Auto,
        Always,
        Never
    };

    Color color = Color::Auto;
    bool wide = false;
};

/// Behind the options that a command has itself.
std::vector<Option> WithLookOptions(std::vector<Option> options);
LookOptions TakeLook(const CommandLine& line);

/// How they look on this output.
Look LookOn(const Output& output, const LookOptions& options);

/// `what` it counts: "messages".
Option NumberOption(const std::string& what);
uint64_t TakeNumber(const CommandLine& line); ///< 0: not given

/// Of commands that send; their line then has "print".
Option PrintOption();
Option SocketOption();
BusOptions TakeSocket(const CommandLine& line);

/// `options` and those that choose the way to the bus.
std::vector<Option> WithBusOptions(std::vector<Option> options);
BusOptions TakeBus(const CommandLine& line);

Option WaitOption(std::chrono::milliseconds otherwise);
std::chrono::milliseconds TakeWait(const CommandLine& line, std::chrono::milliseconds otherwise);

} // namespace OrvelClient
