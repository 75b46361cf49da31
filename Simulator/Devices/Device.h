#pragma once

#include "Knx/Datapoint.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace Simulator
{

/// A device on the bus, as its groups show it. The caller tells the time, which must not go back.
class Device
{
public:
    using Clock = std::chrono::steady_clock;

    /// A value that a device writes to a group.
    struct Report
    {
        uint16_t group;
        Knx::GroupValue value;

        bool operator==(const Report& other) const
        {
            return group == other.group && value == other.value;
        }
    };
    using Reports = std::vector<Report>;

    Device() = default;
    virtual ~Device() = default;

    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// The power comes on. Once, and first.
    virtual void Begin(Clock::time_point /*now*/) {}

    /// Somebody else has written a value to any group; what the device says then.
    virtual Reports OnWrite(uint16_t group, const Knx::GroupValue& value) = 0;

    /// What it answers to a read; nothing if the group is none of those that it answers for.
    virtual std::optional<Knx::GroupValue> ValueOf(uint16_t group) const = 0;

    /// What it says by itself now. To be called when the time comes that NextTime tells.
    virtual Reports OnTime(Clock::time_point /*now*/)
    {
        return {};
    }

    /// Nothing while it waits for nothing.
    virtual std::optional<Clock::time_point> NextTime() const
    {
        return std::nullopt;
    }
};

/// When something happens that happens again and again.
class Rhythm
{
public:
    using Clock = Device::Clock;

    explicit Rhythm(Clock::duration interval)
        : every(interval)
    {
    }

    void Begin(Clock::time_point now)
    {
        next = now + every;
    }

    Clock::time_point Next() const
    {
        return next;
    }

    /// Whether it is time. What was missed is left out.
    bool IsDue(Clock::time_point now)
    {
        if (now < next)
        {
            return false;
        }
        next = next + every > now ? next + every : now + every;
        return true;
    }

private:
    Clock::duration every;
    Clock::time_point next = Clock::time_point::max();
};

} // namespace Simulator
