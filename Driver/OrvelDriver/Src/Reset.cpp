#include "Reset.h"

#include "Sleep.h"

#include <log4cplus/loggingmacros.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace OrvelDriver
{

using namespace std::chrono_literals;

namespace
{

constexpr auto LowTime = 1ms;     // the co-processor's reset input needs a low pulse of at least this
constexpr auto SettleTime = 10ms; // until the co-processor is out of reset and can answer on the link

} // namespace

Reset::Reset(int gpioNumber)
    : gpio(gpioNumber)
    , logger(log4cplus::Logger::getInstance("Reset"))
{
    failed = !Export() || !SetDirection(Direction::In);
}

bool Reset::Export()
{
    std::ofstream file("/sys/class/gpio/export");
    if (!file.is_open())
    {
        const int error = errno;
        LOG4CPLUS_ERROR_FMT(logger, "Failed to export STM32 reset GPIO %d: %s", gpio, strerror(error));
        return false;
    }
    // A pin that is exported already makes the kernel reject the number when the stream closes. That is the normal case
    // after a restart of the daemon, so it counts as success.
    file << gpio;
    return true;
}

bool Reset::SetDirection(Direction direction)
{
    auto path = PinDirectory();
    path << "direction";
    std::ofstream file(path.str());
    if (!file.is_open())
    {
        const int error = errno;
        LOG4CPLUS_ERROR_FMT(logger, "Cannot set direction of STM32 reset GPIO %d: %s", gpio, strerror(error));
        return false;
    }
    file << (direction == Direction::Out ? "out" : "in");
    return true;
}

void Reset::ResetStm32()
{
    LOG4CPLUS_DEBUG_FMT(logger, "Resetting STM32 using GPIO %d", gpio);

    SetDirection(Direction::Out); // the kernel drives the line low: the reset begins here

    auto path = PinDirectory();
    path << "value";
    std::ofstream file(path.str());
    if (!file.is_open())
    {
        const int error = errno;
        LOG4CPLUS_ERROR_FMT(logger, "Cannot set value of STM32 reset GPIO %d: %s", gpio, strerror(error));
        failed = true;
        SetDirection(Direction::In);
        return;
    }
    // The line goes high only when the stream closes: both digits reach the kernel in one write, which it reads as 1.
    // The low time is thus set by the direction and the pause. Do not flush in between.
    file << 0;
    Sleep(LowTime);
    file << 1;
    file.close();

    if (!SetDirection(Direction::In))
    {
        failed = true;
        return;
    }
    Sleep(SettleTime);
}

std::stringstream Reset::PinDirectory() const
{
    std::stringstream path;
    path << "/sys/class/gpio/gpio" << gpio << "/";
    return path;
}

} // namespace OrvelDriver
