#include "Machine.h"

#include <sys/resource.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <thread>

namespace
{

// The text after `key` in a file of lines such as "key : value" or "key=value".
std::string ValueIn(const char* file, const std::string& key)
{
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.rfind(key, 0) == 0)
        {
            const std::size_t begin = line.find_first_not_of(" \t:=\"", key.size());
            const std::size_t end = line.find_last_not_of('"');
            return begin == std::string::npos ? "" : line.substr(begin, end - begin + 1);
        }
    }
    return "unknown";
}

double Seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double SecondsOf(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

} // namespace

std::vector<std::string> DescribeMachine()
{
    utsname system{};
    uname(&system);
    std::string load;
    std::ifstream("/proc/loadavg") >> load;
    return {
        "processor: " + ValueIn("/proc/cpuinfo", "model name") + ", " +
            std::to_string(std::thread::hardware_concurrency()) + " of them",
        "system: " + ValueIn("/etc/os-release", "PRETTY_NAME") + ", Linux " + system.release + " " + system.machine,
        "compiler: " COMPILER,
        "load average at the start: " + load,
    };
}

OtherWork::OtherWork()
    : before(UsedSoFar())
{
}

OtherWork::Used OtherWork::UsedSoFar()
{
    Used used;
    used.byUs = SecondsOf(RUSAGE_SELF) + SecondsOf(RUSAGE_CHILDREN);
    std::ifstream statistics("/proc/stat");
    std::string line;
    std::getline(statistics, line);
    std::istringstream fields(line);
    std::string name;
    fields >> name;
    const auto ticksPerSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    constexpr int Idle = 3;
    constexpr int WaitingForDisk = 4;
    constexpr int Guests = 8; // and what follows is part of what stands before
    double ticks = 0;
    for (int field = 0; field < Guests && fields >> ticks; ++field)
    {
        const double seconds = ticks / ticksPerSecond;
        used.inAll += seconds;
        used.byAll += field == Idle || field == WaitingForDisk ? 0 : seconds;
    }
    return used;
}

double OtherWork::Percent() const
{
    const Used now = UsedSoFar();
    const double byOthers = (now.byAll - before.byAll) - (now.byUs - before.byUs);
    return std::max(0.0, 100 * byOthers / (now.inAll - before.inAll));
}
