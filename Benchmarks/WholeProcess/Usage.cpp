#include "Usage.h"

#include "BenchKit/ProcessFiles.h"

#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace
{

// The number behind `key` in a file of lines as "key: 12 kB".
long NumberIn(const std::filesystem::path& file, const std::string& key)
{
    const std::string value = ValueIn(file, key);
    if (value.empty())
    {
        throw std::runtime_error("no " + key + " in " + file.string());
    }
    return std::stol(value);
}

} // namespace

std::chrono::nanoseconds ProcessorTimeOf(pid_t process)
{
    clockid_t clock = 0;
    timespec used{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) == -1)
    {
        throw std::runtime_error("cannot read the processor time of process " + std::to_string(process));
    }
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

long SleepsOf(pid_t process)
{
    long sleeps = 0;
    for (const auto& thread : std::filesystem::directory_iterator(DirectoryOf(process) / "task"))
    {
        sleeps += NumberIn(thread.path() / "status", "voluntary_ctxt_switches");
    }
    return sleeps;
}

long ResidentMemoryOf(pid_t process)
{
    return NumberIn(DirectoryOf(process) / "smaps_rollup", "Rss");
}

long ProportionalMemoryOf(pid_t process)
{
    return NumberIn(DirectoryOf(process) / "smaps_rollup", "Pss");
}
