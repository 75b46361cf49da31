// Measures the link library's log functions, which it may call for each frame, with their level off and on.

#include "NemtLogAdapter.h"
#include "Steps.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace
{

using FormatFunction = void (*)(char*, ...);
using TextFunction = void (*)(char*);

// The formatting produces a text of the wanted length.
void RunFormat(benchmark::State& state, FormatFunction function, log4cplus::LogLevel level)
{
    LogFrom(level);
    std::string format = "%s %d";
    const std::string text(static_cast<std::size_t>(state.range(0)) - 3, 'x');
    for (auto _ : state)
    {
        function(format.data(), text.c_str(), 12);
    }
}

void RunHex(benchmark::State& state, log4cplus::LogLevel level)
{
    LogFrom(level);
    std::string text = "received:";
    std::vector<unsigned char> data(static_cast<std::size_t>(state.range(0)), 0xbc);
    for (auto _ : state)
    {
        NemtLog_DebugHex(text.data(), data.data(), static_cast<unsigned int>(data.size()));
    }
}

void RunText(benchmark::State& state, TextFunction function, log4cplus::LogLevel level)
{
    LogFrom(level);
    std::string text = "received a frame";
    for (auto _ : state)
    {
        function(text.data());
    }
}

void Add(const std::string& prefix, log4cplus::LogLevel level)
{
    const auto addFormat = [&](const char* name, FormatFunction function)
    { benchmark::RegisterBenchmark((prefix + name).c_str(), RunFormat, function, level)->Arg(11)->Arg(254); };
    const auto addText = [&](const char* name, TextFunction function)
    { benchmark::RegisterBenchmark((prefix + name).c_str(), RunText, function, level); };

    addText("Debug", NemtLog_Debug);
    addText("Warn", NemtLog_Warn);
    addText("Error", NemtLog_Error);
    addFormat("DebugFmt", NemtLog_DebugFmt);
    addFormat("WarnFmt", NemtLog_WarnFmt);
    addFormat("ErrorFmt", NemtLog_ErrorFmt);
    benchmark::RegisterBenchmark((prefix + "DebugHex").c_str(), RunHex, level)->Arg(11)->Arg(254);
}

const bool Added = []
{
    Add("off/", log4cplus::OFF_LOG_LEVEL);
    Add("on/", log4cplus::DEBUG_LOG_LEVEL);
    return true;
}();

} // namespace
