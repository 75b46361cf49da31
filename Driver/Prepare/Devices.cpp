#include "Devices.h"

#include "Give.h"

#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
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
    const auto isMissing = [] { return access(LedDevice, F_OK) == -1 && errno == ENOENT; };
    if (isMissing())
    {
        LoadModule();
    }
    const auto limit = std::chrono::steady_clock::now() + Patience;
    while (isMissing() && std::chrono::steady_clock::now() < limit)
    {
        std::this_thread::sleep_for(Pause);
    }
    Give(LedDevice, user, SameGroup, S_IRUSR | S_IWUSR);
}

void GiveSerialDevice(const std::string& device, const User& user)
{
    if (access(device.c_str(), F_OK) == 0)
    {
        Give(device, user, SameGroup, S_IRUSR | S_IWUSR);
    }
}

} // namespace OrvelPrepare
