#pragma once

#include "KnownGroups.h"
#include "Message.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace OrvelClient
{

/// What the telegrams on the bus have told of each group. The caller tells the time, which must not go back.
class GroupTable
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::seconds RateSpan{60}; ///< telegrams of a group are counted over it
    static constexpr std::chrono::seconds LoadSpan{10}; ///< the load of the bus is that of this time

    struct Group
    {
        uint16_t address = 0;
        std::string name;        ///< empty when it is not known
        std::string value;       ///< the last one; digits when its type is not known; empty: only reads so far
        Clock::time_point since; ///< when that came; where there is none, the last read
        uint64_t count = 0;      ///< telegrams
        uint64_t lately = 0;     ///< telegrams in the last RateSpan
    };

    enum class Order
    {
        Address,
        Name, ///< those without one last
        Age,  ///< the youngest first
        Rate, ///< the most frequent first
        Count
    };

    struct Load
    {
        uint64_t telegrams = 0; ///< since the beginning, whatever they are
        double rate = 0;        ///< telegrams a second
        double percent = 0;     ///< of its time that a line of 9600 bit/s is busy
    };

    /// `knownGroups` have to live as long.
    GroupTable(const KnownGroups& knownGroups, Clock::time_point now);

    /// A message from the bus. Counts what was on it: an indication, or the confirmation of what was sent.
    void Add(const Message& message, Clock::time_point now);

    /// Those that had a telegram. Where the order leaves it open they are in that of their addresses, also if it is reversed.
    std::vector<Group> Groups(Order order, bool reversed, Clock::time_point now);

    Load BusLoad(Clock::time_point now);

private:
    struct Telegram
    {
        Clock::time_point time;
        std::chrono::nanoseconds onLine;
        uint16_t group; // 0: none
    };

    void Forget(Clock::time_point now);

    const KnownGroups& known;
    const Clock::time_point began;
    std::map<uint16_t, Group> groups;
    uint64_t telegrams = 0;
    std::deque<Telegram> lately; // of RateSpan
    std::size_t older = 0;       // of these, how many are before LoadSpan
    std::chrono::nanoseconds onLine{};
};

} // namespace OrvelClient
