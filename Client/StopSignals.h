#pragma once

#include <chrono>
#include <cstdint>

namespace OrvelClient
{

/// SIGINT, SIGTERM and SIGHUP, which ask the program to stop. While it exists they do nothing else.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// For poll: readable from the first of them on.
    int Descriptor() const
    {
        return descriptor;
    }

    /// Asks the program to stop, as the signals do.
    void Ask() const;

    /// Waits until `time`, or until one has come; true when one has.
    bool AwaitUntil(std::chrono::steady_clock::time_point time) const;

    /// Throws Failure (Interrupted) when one has come before `number` messages had; 0 is any number.
    void RequireAll(uint64_t count, uint64_t number) const;

private:
    int descriptor;
};

} // namespace OrvelClient
