#pragma once

#include "Bus.h"
#include "Command.h"
#include "TimeStamp.h"

#include <chrono>
#include <cstdint>
#include <vector>

namespace OrvelClient
{

// Options that several commands have, and their values. What takes a value throws Failure (WrongOption).

Option TimeOption();
TimeStamp TakeTimeStamp(const CommandLine& line);

/// `what` it counts: "messages".
Option NumberOption(const std::string& what);
uint64_t TakeNumber(const CommandLine& line); ///< 0: not given

Option SocketOption();
BusOptions TakeSocket(const CommandLine& line);

/// `options` and those that choose the way to the bus.
std::vector<Option> WithBusOptions(std::vector<Option> options);
BusOptions TakeBus(const CommandLine& line);

Option WaitOption(std::chrono::milliseconds otherwise);
std::chrono::milliseconds TakeWait(const CommandLine& line, std::chrono::milliseconds otherwise);

} // namespace OrvelClient
