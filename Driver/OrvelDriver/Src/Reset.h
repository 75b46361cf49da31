#pragma once

#include <log4cplus/logger.h>

#include <cstdint>
#include <sstream>

namespace OrvelDriver
{

/// Pulses the co-processor's reset line, a GPIO pin in sysfs. Main thread only.
///
/// The pin is an input except during a pulse, and stays exported when the object is gone.
class Reset
{
public:
    enum class Direction
    {
        In = 0, ///< the pin is released
        Out = 1 ///< the pin is driven, low at first
    };

    /// Exports the pin and makes it an input; HasFailed tells whether that went wrong.
    explicit Reset(int gpio);

    /// Blocks for at least 11 ms: the line is low for 1 ms, then the co-processor has 10 ms to boot. Sets the failure
    /// flag, and skips the 10 ms, when the line could not be driven or released.
    void ResetStm32();

    /// Both succeed when the file could be opened; what the kernel makes of the text is not looked at.
    bool Export();
    bool SetDirection(Direction direction);

    /// Never cleared once set.
    bool HasFailed() const
    {
        return failed;
    }

private:
    std::stringstream PinDirectory() const;

    int32_t gpio;
    bool failed = false;
    log4cplus::Logger logger;
};

} // namespace OrvelDriver
