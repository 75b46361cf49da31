#include "CheckDevices.h"

#include "System/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;

constexpr const char* GpioDirectory = "/sys/class/gpio";
constexpr const char* SerialLine = "/dev/ttymxc2";
constexpr const char* LedDevice = "/dev/uleds";

bool Exists(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

bool CanWrite(const std::string& path)
{
    return access(path.c_str(), W_OK) == 0;
}

bool IsCharacterDevice(const std::string& path)
{
    struct stat state
    {
    };
    return stat(path.c_str(), &state) == 0 && S_ISCHR(state.st_mode);
}

std::optional<int> NumberIn(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    int number = 0;
    return (stream >> number) ? std::optional(number) : std::nullopt;
}

// The pins of this machine's chips, as "0 to 31, 64 to 95"; empty if the machine does not say.
struct Pins
{
    std::string text;
    bool contain = false;
};

Pins FindPins(int pin)
{
    Pins pins;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(GpioDirectory, ignored))
    {
        const auto base = NumberIn(entry.path() / "base");
        const auto count = NumberIn(entry.path() / "ngpio");
        if (base && count)
        {
            pins.text +=
                (pins.text.empty() ? "" : ", ") + std::to_string(*base) + " to " + std::to_string(*base + *count - 1);
            pins.contain = pins.contain || (pin >= *base && pin < *base + *count);
        }
    }
    return pins;
}

Finding CheckReset(int pin)
{
    const std::string subject = "reset GPIO " + std::to_string(pin);
    const std::string directory = GpioDirectory;
    const std::string ownDirectory = directory + "/gpio" + std::to_string(pin);
    if (!Exists(directory))
    {
        return {Level::Failure, subject, "there is no " + directory + ": the kernel needs CONFIG_GPIO_SYSFS"};
    }
    if (!CanWrite(directory + "/export"))
    {
        return {Level::Failure, subject,
                directory + "/export is not for this user: be root, or let udev give the right"};
    }
    if (Exists(ownDirectory))
    {
        if (!CanWrite(ownDirectory + "/direction") || !CanWrite(ownDirectory + "/value"))
        {
            return {Level::Failure, subject,
                    ownDirectory + " is not for this user: be root, or let udev give the right"};
        }
        return {Level::Ok, subject, "is exported, and can be driven"};
    }
    const Pins pins = FindPins(pin);
    if (pins.text.empty())
    {
        return {Level::Ok, subject, "can be exported, if there is such a pin"};
    }
    if (!pins.contain)
    {
        return {Level::Failure, subject, "there is no such pin, there are " + pins.text + ": --reset_gpio"};
    }
    return {Level::Ok, subject, "can be exported, unless a driver has it"};
}

Finding CheckSerialLine()
{
    if (!Exists(SerialLine))
    {
        return {Level::Failure, SerialLine,
                "is not there: the kernel lacks its driver, or the device tree does not enable it"};
    }
    if (!IsCharacterDevice(SerialLine))
    {
        return {Level::Failure, SerialLine, "is no device: remove it and let udev make it"};
    }
    if (access(SerialLine, R_OK | W_OK) == -1)
    {
        return {Level::Failure, SerialLine, "is not for this user: be root, or in the group that it belongs to"};
    }
    return {Level::Ok, SerialLine, "can be opened, if nobody else has it"};
}

// An LED is made by writing to the device, not by opening it.
Finding CheckLedDevice()
{
    if (System::Descriptor(open(LedDevice, O_RDWR | O_NONBLOCK | O_CLOEXEC)).IsOpen())
    {
        return {Level::Ok, LedDevice, "can be opened"};
    }
    switch (errno)
    {
    case ENOENT:
    case ENODEV:
    case ENXIO:
        return {Level::Failure, LedDevice, "is not there: modprobe uleds, for which the kernel needs CONFIG_LEDS_USER"};
    case EACCES:
    case EPERM:
        return {Level::Failure, LedDevice, "is not for this user: be root, or let udev give the right"};
    default:
        return {Level::Failure, LedDevice, std::string("cannot be opened: ") + strerror(errno)};
    }
}

} // namespace

Findings CheckDevices(int resetGpio)
{
    return {CheckReset(resetGpio), CheckSerialLine(), CheckLedDevice()};
}

} // namespace OrvelClient
