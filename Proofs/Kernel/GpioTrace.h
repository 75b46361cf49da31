#pragma once

#include "Gpio.h"

#include "System/Descriptor.h"
#include "System/Lines.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What the kernel traces about its GPIO pins and the serial device, with the kernel's own time stamps. Only one
/// trace can exist at a time.
///
/// A pin that nobody drives is high, as on the simulated board.
class GpioTrace
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Begins to trace. Calls `pinListener` on this object's own thread, or on the thread that asks for the
    /// changes. Throws std::runtime_error if the kernel offers no such trace.
    explicit GpioTrace(Simulator::PinListener pinListener);
    ~GpioTrace();

    GpioTrace(const GpioTrace&) = delete;
    GpioTrace& operator=(const GpioTrace&) = delete;

    /// The changes up to now, in order.
    std::vector<Simulator::PinChange> Changes();

    /// The times at which the daemon opened the serial device.
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
    System::Descriptor pipe;
    std::mutex mutex; // for all that follows
    System::Lines lines;
    std::vector<Pin> pins;
    std::vector<Simulator::PinChange> changes;
    std::vector<Time> serialOpenings;
    std::atomic<bool> running{true};
    std::thread thread;
};
