#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

/// What arrives at the co-processor's KNX side, from the events on the board. Any thread.
class Knx
{
public:
    void OnEvent(const std::string& event);

    /// Numbers of the frames that have arrived since the last Take.
    std::size_t Count() const;
    std::vector<uint32_t> Take();

    /// How many frames were none that an application has sent.
    long Strange() const;

private:
    mutable std::mutex mutex;
    std::vector<uint32_t> numbers;
    long strange = 0;
};
