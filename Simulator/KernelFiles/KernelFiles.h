#pragma once

#include "FaultPlan.h"
#include "Gpio.h"
#include "Uleds.h"

#include <filesystem>
#include <memory>

namespace Simulator
{

/// The kernel's files for GPIO pins and userspace LEDs, for any program, as a file system:
///
///     uleds                                               like "/dev/uleds"
///     class/gpio/{export,unexport,gpiochip0,gpioN}        like "/sys/class/gpio"
///     class/leds/NAME                                     like "/sys/class/leds"
///     devices/platform/simulated-gpio/...                 what the links in class/gpio lead to: a chip, its pins
///     devices/virtual/misc/uleds/NAME/...                 what the links in class/leds lead to
///
/// A thread of its own answers. That has two consequences for the program that it is part of:
/// - Threads of this program should not wait in a read: if the program is killed meanwhile, it waits forever for its own
///   answer.
/// - A process forked from it keeps the connection to the kernel open until it becomes another program. When this object
///   is gone, such a process can hang in the files, unless it has closed what it inherited.
class KernelFiles
{
public:
    /// Called on the files' own thread, or on the thread that uses a model directly, until the destructor returns. A
    /// listener must not use the files, because only that thread could answer, nor change pins and LEDs.
    struct Listeners
    {
        PinListener onPin;
        LedListener onLed;
    };

    /// Mounts at `mountPoint`, a directory; needs root or root of a user namespace.
    /// Throws std::runtime_error with one line that says what is missing.
    explicit KernelFiles(const std::filesystem::path& mountPoint, const Listeners& listeners = {});

    /// Closes what is still open, then unmounts. Reads that wait fail with ENODEV, polls report POLLERR, later calls
    /// fail.
    ~KernelFiles();

    KernelFiles(const KernelFiles&) = delete;
    KernelFiles& operator=(const KernelFiles&) = delete;

    Gpio& TheGpio();
    Uleds& TheUleds();
    FaultPlan& TheFaults();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace Simulator
