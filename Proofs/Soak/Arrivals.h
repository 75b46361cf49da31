#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

/// What arrives at the co-processor, from the events on the board: frames, and states of the LEDs. Any thread.
class Arrivals
{
public:
    void OnEvent(const std::string& event);

    /// Numbers of the frames that have arrived since the last Take.
    std::size_t Count() const;
    std::vector<uint32_t> Take();

    /// How many states of LEDs.
    long LedStates() const;

    /// How many frames were none that an application has sent.
    long Strange() const;

private:
    mutable std::mutex mutex;
    std::vector<uint32_t> numbers;
    long ledStates = 0;
    long strange = 0;
};
