#include "ResetPin.h"

#include "Failure.h"

#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>

namespace OrvelPrepare
{

namespace
{

constexpr const char* ExportFile = "/sys/class/gpio/export";

// The result is errno, or 0.
int Export(const std::string& pin)
{
    const int file = open(ExportFile, O_WRONLY | O_CLOEXEC);
    if (file == -1)
    {
        return errno;
    }
    const int error = write(file, pin.data(), pin.size()) == -1 ? errno : 0;
    close(file);
    return error;
}

void Give(const std::string& file, const User& user)
{
    constexpr auto SameGroup = static_cast<gid_t>(-1);
    if (chown(file.c_str(), user.id, SameGroup) == -1)
    {
        throw Failure(EX_UNAVAILABLE, Because("cannot give the daemon " + file));
    }
}

} // namespace

void GiveResetPin(int pin, const User& user)
{
    const std::string number = std::to_string(pin);
    const std::string directory = "/sys/class/gpio/gpio" + number;
    Give(ExportFile, user);

    // The files are there when the write returns. An error may also mean that somebody else has just exported the pin.
    const int error = access(directory.c_str(), F_OK) == 0 ? 0 : Export(number);
    if (error != 0 && access(directory.c_str(), F_OK) == -1)
    {
        errno = error;
        throw Failure(EX_CONFIG, Because("cannot export pin " + number + " of --reset_gpio"));
    }
    Give(directory + "/direction", user);
    Give(directory + "/value", user);
}

} // namespace OrvelPrepare
