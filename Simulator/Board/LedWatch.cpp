#include "LedWatch.h"

#include <sys/syscall.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Simulator
{

namespace
{

constexpr int EnoughLooks = 4; // in a row; a worker that has its table opens "/dev/uleds" as the first that it does

std::filesystem::path DirectoryOf(pid_t process)
{
    return std::filesystem::path("/proc") / std::to_string(process);
}

// Empty when the process is gone.
std::vector<std::filesystem::path> Entries(const std::filesystem::path& directory)
{
    std::error_code gone;
    std::vector<std::filesystem::path> entries;
    for (std::filesystem::directory_iterator entry(directory, gone), end; !gone && entry != end; entry.increment(gone))
    {
        entries.push_back(entry->path());
    }
    return entries;
}

// Whether the thread has waited for something since it was started.
bool HasWaited(const std::filesystem::path& thread)
{
    std::ifstream status(thread / "status");
    std::string name;
    long switches = 0;
    while (status >> name)
    {
        if (name == "voluntary_ctxt_switches:")
        {
            status >> switches;
        }
    }
    return switches > 0;
}

// Whether the thread waits in the opening of a file. That of "/dev/uleds" takes as long as the board needs to answer it.
bool IsOpening(const std::filesystem::path& thread)
{
    std::ifstream file(thread / "syscall");
    long call = -1;
    file >> call; // stays -1 or becomes 0 where the thread runs, or is gone
    return call == SYS_openat
#ifdef SYS_open
           || call == SYS_open
#endif
        ;
}

} // namespace

LedWatch::Finding LedWatch::Look()
{
    const auto descriptors = Entries(DirectoryOf(daemon) / "fd");
    const auto hasOpened = [&descriptors](const char* file)
    {
        return std::any_of(descriptors.begin(), descriptors.end(),
                           [file](const auto& descriptor)
                           {
                               std::error_code gone;
                               return std::filesystem::read_symlink(descriptor, gone) == file;
                           });
    };
    if (hasOpened("/dev/uleds"))
    {
        return Finding::TheyCome;
    }
    // The bridge is built after the LEDs. Once it has its queue and no thread still waits for its first turn, the LED worker
    // has looked at its table, or is opening the device.
    const auto threads = Entries(DirectoryOf(daemon) / "task");
    const bool hasLookedAtTable = hasOpened("/cemiFromLL") && std::all_of(threads.begin(), threads.end(), HasWaited) &&
                                  std::none_of(threads.begin(), threads.end(), IsOpening);
    looksWithout = hasLookedAtTable ? looksWithout + 1 : 0;
    return looksWithout == EnoughLooks ? Finding::TheyDoNot : Finding::NotYet;
}

} // namespace Simulator
