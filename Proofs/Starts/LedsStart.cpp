// Measures how often the LED worker starts before its table is filled, on a machine that is busy with other things.
//
// Prints how many of the constructions lost a device, or its configured name. It is not a test, because the result depends
// on the machine's scheduler. Each construction happens in a process of its own, right after a pause, as in the daemon:
// code that runs for the first time is slow. Half of the busy processes take short naps, as a machine's own services do
// when it starts.
//   leds-start [--fifo] [CONSTRUCTIONS [BUSY PROCESSES]]
// --fifo starts each process as the service starts the daemon: in real time, with reset-on-fork. This needs root, or
// RLIMIT_RTPRIO.

#include "Leds.h"

#include <linux/uleds.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace Nemt
{

// Nobody switches the LEDs here.
bool CommHub::Transmit(uint16_t /*topic*/, const uint8_t* /*data*/, uint16_t /*length*/)
{
    return true;
}

} // namespace Nemt

namespace
{

constexpr std::array<const char*, 5> Names{"prg1", "prg2", "system", "knx", "rs485termination"}; // by their keys
constexpr const char* Once = "once";
constexpr int Refused = 2;              // the exit status without the right to run in real time
std::atomic<std::size_t> registered{0}; // with their configured names

pid_t StartBusyProcess(bool napping)
{
    constexpr unsigned int WorkBetweenNaps = 100'000;
    const pid_t process = fork();
    if (process == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (volatile unsigned int counter = 1;; counter = counter + 1)
        {
            if (napping && counter % WorkBetweenNaps == 0)
            {
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
        }
    }
    return process;
}

// Does the part of the daemon's start that matters to the LEDs; false if a device or its name was lost.
bool ConstructOnce()
{
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    std::map<int, std::string> names;
    for (const char* const name : Names)
    {
        names.emplace(static_cast<int>(names.size()), name);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10)); // the co-processor's time to boot
    {
        const OrvelDriver::Leds leds(nullptr, std::move(names), true);
    }
    return registered == Names.size();
}

// Sets the priority of this process and of what it executes, but not of what it forks.
bool RunInRealTime()
{
    sched_param parameters{};
    parameters.sched_priority = 1;
    return sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) == 0;
}

// Returns the exit status.
int ConstructInNewProcess(bool realTime)
{
    const pid_t process = fork();
    if (process == 0)
    {
        if (realTime && !RunInRealTime())
        {
            std::perror("SCHED_FIFO");
            _exit(Refused);
        }
        execl("/proc/self/exe", "leds-start", Once, nullptr);
        _exit(EXIT_FAILURE);
    }
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

} // namespace

// The daemon's calls come here instead of the kernel: "/dev/uleds" accepts everything, and nothing ever happens to
// an LED.
extern "C"
{
    int __wrap_open(const char* /*path*/, int /*flags*/, ...)
    {
        return 1000;
    }

    ssize_t __wrap_write(int /*fd*/, const void* data, size_t size)
    {
        const std::string name = static_cast<const uleds_user_dev*>(data)->name;
        registered += std::count(Names.begin(), Names.end(), name);
        return static_cast<ssize_t>(size);
    }

    int __wrap_fcntl(int /*fd*/, int /*command*/, ...)
    {
        return 0;
    }

    int __wrap_poll(void* /*set*/, unsigned long /*count*/, int /*timeout*/)
    {
        std::this_thread::yield();
        return 0;
    }
}

int main(int argc, char** argv)
{
    if (argc > 1 && argv[1] == std::string(Once))
    {
        return ConstructOnce() ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const bool realTime = argc > 1 && argv[1] == std::string("--fifo");
    if (realTime)
    {
        --argc;
        ++argv;
    }
    const int constructions = argc > 1 ? std::stoi(argv[1]) : 10'000;
    const auto busy =
        argc > 2 ? static_cast<unsigned int>(std::stoi(argv[2])) : 2 * std::thread::hardware_concurrency();
    std::vector<pid_t> processes;
    while (processes.size() < busy)
    {
        processes.push_back(StartBusyProcess(processes.size() % 2 == 1));
    }
    int lost = 0;
    for (int construction = 0; construction < constructions; ++construction)
    {
        const int status = ConstructInNewProcess(realTime);
        if (status == Refused)
        {
            return EXIT_FAILURE;
        }
        lost += status == EXIT_SUCCESS ? 0 : 1;
    }
    std::printf("%d of %d constructions%s lost a device or its name, beside %u busy processes on %u cores\n", lost,
                constructions, realTime ? " in real time" : "", busy, std::thread::hardware_concurrency());
    for (const pid_t process : processes)
    {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    return EXIT_SUCCESS;
}
