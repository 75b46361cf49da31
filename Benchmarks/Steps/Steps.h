#pragma once

#include "System/Descriptor.h"

#include <log4cplus/logger.h>

#include <chrono>

/// The steps share the log and the link library's place.

/// Sets up the daemon's own console log, from `level` upward. Standard output goes nowhere here.
void LogFrom(log4cplus::LogLevel level);

/// The time that the calling thread has used so far.
std::chrono::nanoseconds ProcessorTime();

/// A number that one thread increases and another waits for.
class Signal
{
public:
    Signal();

    void Give() const;
    void Await() const;

private:
    System::Descriptor descriptor;
};

/// The hub increases it for each message that it must transmit.
const Signal& Transmitted();
