#pragma once

#include "Gpio.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What the kernel traces of its GPIO pins and of the serial device, with its own time stamps. One at a time.
///
/// A pin that nobody drives is high, as on the simulated board.
class GpioTrace
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Begins to trace. `pinListener` is called on this object's own thread, or the one that asks for the changes.
    /// Throws std::runtime_error where the kernel offers no such trace.
    explicit GpioTrace(Simulator::PinListener pinListener);
    ~GpioTrace();

    GpioTrace(const GpioTrace&) = delete;
    GpioTrace& operator=(const GpioTrace&) = delete;

    /// Up to now, in order.
    std::vector<Simulator::PinChange> Changes();

    /// When the daemon opened the serial device, as often as it did.
    std::vector<Time> SerialOpenings();

    void Forget();

private:
    struct Pin
    {
        bool driven = false;
        bool set = false; // the level that it has when it is driven

        bool IsHigh() const
        {
            return !driven || set;
        }
    };

    void ThreadFunction();
    void ReadUpToNow();
    void TakeIn(const std::string& line);

    const Simulator::PinListener listener;
    int pipe = -1;
    std::mutex mutex; // for all that follows
    std::string pending;
    std::vector<Pin> pins;
    std::vector<Simulator::PinChange> changes;
    std::vector<Time> serialOpenings;
    std::atomic<bool> running{true};
    std::thread thread;
};
