#pragma once

#include <log4cplus/logger.h>

#include <chrono>

/// What the steps share: the log and the link library's place.

/// The daemon's own console log, from `level` upward. Standard output goes nowhere here.
void LogFrom(log4cplus::LogLevel level);

/// That the calling thread has used so far.
std::chrono::nanoseconds ProcessorTime();

/// A number that one thread counts up and another waits for.
class Signal
{
public:
    Signal();
    ~Signal();

    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Give() const;
    void Await() const;

private:
    int descriptor;
};

/// Given by the hub for each message that it is to transmit.
const Signal& Transmitted();
