#pragma once

#include "Bus.h"
#include "Command.h"
#include "Formatter.h"
#include "TimeStamp.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace OrvelClient
{

// Options that several commands have. A variable has the default of its option.

void AddTime(Arguments::Parser& parser, TimeStamp& timeStamp);

/// How lines look, as the person wants it.
struct LookOptions
{
    enum class Color
    {
        Auto,
        Always,
        Never
    };

    void AddTo(Arguments::Parser& parser);

    Color color = Color::Auto;
    bool wide = false;
};

/// How they look on this output.
Look LookOn(const Output& output, const LookOptions& options);

/// `what` it counts: "messages".
void AddNumber(Arguments::Parser& parser, uint64_t& number, const std::string& what);

/// Of commands that send.
void AddPrint(Arguments::Parser& parser, bool& print);

void AddSocket(Arguments::Parser& parser, BusOptions& bus);

/// Those that choose the way to the bus.
void AddBus(Arguments::Parser& parser, BusOptions& bus);

void AddWait(Arguments::Parser& parser, std::chrono::milliseconds& wait);

/// A number of milliseconds; `text` is without the default.
void AddMilliseconds(Arguments::Parser& parser, const std::string& name, std::chrono::milliseconds& time, int64_t least,
                     int64_t most, const std::string& text);

} // namespace OrvelClient
