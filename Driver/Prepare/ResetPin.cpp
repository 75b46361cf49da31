#include "ResetPin.h"

#include "Failure.h"
#include "Give.h"

#include <fcntl.h>
#include <sys/stat.h>
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

// A group that the board has let export pins keeps that right, but not the applications.
void GiveExportFile(const User& user)
{
    struct stat status = {};
    const bool hasGroup = stat(ExportFile, &status) == 0 && status.st_gid != user.group;
    Give(ExportFile, user, SameGroup, S_IWUSR | (hasGroup ? status.st_mode & S_IWGRP : 0U));
}

} // namespace

void GiveResetPin(int pin, const User& user)
{
    const std::string number = std::to_string(pin);
    const std::string directory = "/sys/class/gpio/gpio" + number;
    GiveExportFile(user);

    // The files are there when the write returns. An error may also mean that somebody else has just exported the pin.
    const int error = access(directory.c_str(), F_OK) == 0 ? 0 : Export(number);
    if (error != 0 && access(directory.c_str(), F_OK) == -1)
    {
        errno = error;
        throw Failure(EX_CONFIG, Because("cannot export pin " + number + " of --reset_gpio"));
    }
    for (const char* const file : {"/direction", "/value"})
    {
        Give(directory + file, user, 0, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
    }
}

} // namespace OrvelPrepare
