#pragma once

#include "Nemt/CommHub.h"

#include <log4cplus/logger.h>

#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace OrvelDriver
{

enum class VirtualLedType : int32_t
{
    Led = 0,
    Rs485Termination = 1
};

/// One output of the co-processor, shown to applications as an LED of the kernel's LED class.
struct VirtualLedDevice
{
    std::string name; ///< the LED's name in /sys/class/leds
    int32_t fd;       ///< its own handle of "/dev/uleds"; -1 until registered
    VirtualLedType type;
    uint8_t number;  ///< of the output on the co-processor
    int32_t nameKey; ///< under which a configured name replaces the built-in one
};

/// Registers the virtual LEDs and forwards each brightness that the kernel reports to the co-processor, as on or off.
class Leds
{
public:
    /// `ledNames` replaces the built-in names, by LED key. Starts the worker and returns without waiting for the LEDs to
    /// be registered. Main thread.
    Leds(Nemt::CommHub* commHub, std::map<int, std::string> ledNames, bool enableRs485);

    /// Blocks for at most one poll period. The LEDs stay registered until the process exits: no application sees its LED
    /// vanish before the daemon itself is gone. Main thread.
    ~Leds();

    Leds(const Leds&) = delete;
    Leds& operator=(const Leds&) = delete;

    /// True once an LED could not be registered or its handle is broken; never cleared. Polled by the main thread.
    bool HasFailed() const
    {
        return failed;
    }

private:
    Leds(Nemt::CommHub* commHub, std::vector<VirtualLedDevice> rows, std::map<int, std::string> ledNames);

    void ThreadFunction();
    bool OpenVirtualLedDevice(VirtualLedDevice& device);
    bool TransmitLedState(const VirtualLedDevice& device, bool on);

    // The flags are plain bytes: each is written by one side, changes once and is polled by the other.
    Nemt::CommHub* commHub;
    std::vector<VirtualLedDevice> devices;
    bool failed = false;
    bool running = true;
    log4cplus::Logger logger;
    std::thread thread; // last: it uses all of the above from its first moment
};

} // namespace OrvelDriver
