#include "Devices.h"

#include "Failure.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sysexits.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace OrvelPrepare
{

namespace
{

using namespace std::chrono_literals;

constexpr const char* LedDevice = "/dev/uleds";
constexpr auto Patience = 5s; // for a udev or mdev that makes the device when the module has been loaded
constexpr auto Pause = 20ms;
constexpr auto SameGroup = static_cast<gid_t>(-1);

// The driver may as well be part of the kernel, and the program missing: whether the device comes is what counts.
void LoadModule()
{
    std::string program = "modprobe";
    std::string quiet = "-q";
    std::string module = "uleds";
    char* const arguments[] = {program.data(), quiet.data(), module.data(), nullptr};
    pid_t process = 0;
    if (posix_spawnp(&process, program.c_str(), nullptr, nullptr, arguments, environ) == 0)
    {
        waitpid(process, nullptr, 0);
    }
}

} // namespace

void GiveLedDevice(const User& user)
{
    if (access(LedDevice, F_OK) == -1)
    {
        LoadModule();
    }
    const auto limit = std::chrono::steady_clock::now() + Patience;
    while (chown(LedDevice, user.id, SameGroup) == -1)
    {
        if (errno != ENOENT || std::chrono::steady_clock::now() > limit)
        {
            throw Failure(EX_UNAVAILABLE, Because(std::string("cannot give the daemon ") + LedDevice));
        }
        std::this_thread::sleep_for(Pause);
    }
    if (chmod(LedDevice, S_IRUSR | S_IWUSR) == -1)
    {
        throw Failure(EX_UNAVAILABLE, Because(std::string("cannot close ") + LedDevice + " to others"));
    }
}

void GiveSerialDevice(const std::string& device, const User& user)
{
    if (chown(device.c_str(), user.id, SameGroup) == -1 && errno != ENOENT)
    {
        throw Failure(EX_UNAVAILABLE, Because("cannot give the daemon " + device));
    }
}

} // namespace OrvelPrepare
