#pragma once

#include "Event.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

/// What arrives at the co-processor, according to the events on the board: frames, and states of the LEDs. Any thread
/// may call.
class Arrivals
{
public:
    void OnEvent(const Simulator::Event& event);

    /// Numbers of the frames that have arrived since the last Take.
    std::size_t Count() const;
    std::vector<uint32_t> Take();

    /// How many states of LEDs arrived.
    long LedStates() const;

    /// How many frames arrived that no application had sent.
    long Strange() const;

private:
    void OnFrame(const Knx::Bytes& frame);

    mutable std::mutex mutex;
    std::vector<uint32_t> numbers;
    long ledStates = 0;
    long strange = 0;
};
