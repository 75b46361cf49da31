#pragma once

#include "System/Signals.h"

#include <chrono>
#include <cstdint>

namespace OrvelClient
{

/// SIGINT, SIGTERM and SIGHUP, which ask the program to stop. While it exists they do nothing else.
class StopSignals : public System::StopSignals
{
public:
    /// Asks the program to stop, as the signals do.
    void Ask() const;

    /// Waits until `time`, or until one has come; true when one has.
    bool AwaitUntil(std::chrono::steady_clock::time_point time) const;

    /// Throws Failure (Interrupted) when one has come before `number` messages had; 0 is any number.
    void RequireAll(uint64_t count, uint64_t number) const;
};

} // namespace OrvelClient
