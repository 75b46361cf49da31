#include "Counts.h"

#include "SharedNumber.h"

#include "BenchKit/ProcessFiles.h"
#include "System/Process.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace
{

constexpr std::size_t FrameSize = 11;
constexpr std::size_t Frames = 2000;

// This is not counted, because the first time a program may prepare what it then keeps.
void WarmUp(Subject& subject)
{
    subject.Run(100, FrameSize, 1);
}

// Each thread of the process is traced from now on.
void AwaitTracer(pid_t process)
{
    const auto isTraced = [](const std::filesystem::path& thread)
    {
        const std::string tracer = ValueIn(thread / "status", "TracerPid");
        return !tracer.empty() && tracer != "0";
    };
    const std::filesystem::directory_iterator threads(DirectoryOf(process) / "task");
    for (const auto& thread : threads)
    {
        for (int tries = 0; !isTraced(thread); ++tries)
        {
            if (tries == 10'000)
            {
                throw std::runtime_error("strace does not begin to trace");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

// The name in a line with the result of a call, "12 poll(...) = 1" or "12 <... poll resumed>...) = 1". It is empty in
// every other line, and if a thread only slept for a period.
std::string FinishedCall(const std::string& line)
{
    if (line.find(" = ") == std::string::npos || line.find("(Timeout)") != std::string::npos)
    {
        return {};
    }
    const std::string resumed = "<... ";
    const std::size_t mark = line.find(resumed);
    const std::size_t begin =
        mark != std::string::npos ? mark + resumed.size() : line.find_first_not_of(' ', line.find(' '));
    std::string name = line.substr(begin, line.find_first_of(" (", begin) - begin);
    return name == "clock_nanosleep" ? "" : name;
}

} // namespace

double HeapCallsPerFrame(Program program, const Processors& processors)
{
    const SharedNumber calls;
    program.environment.emplace_back("LD_PRELOAD", HEAP_COUNT);
    program.environment.emplace_back("ORVEL_HEAP_COUNT", std::to_string(calls.Descriptor()));
    Subject subject(program, processors);
    WarmUp(subject);
    const uint64_t before = calls.Value();
    if (before == 0)
    {
        throw std::runtime_error("no heap call was counted, not even of the start");
    }
    subject.Run(Frames, FrameSize, 1);
    subject.AwaitSilence();
    return static_cast<double>(calls.Value() - before) / static_cast<double>(Frames);
}

SystemCalls CountSystemCalls(const Program& program, const Processors& processors)
{
    const std::string file = "system-calls";
    Subject subject(program, processors);
    WarmUp(subject);
    subject.AwaitSilence();

    System::Process::Start start;
    start.command = {"strace", "-f", "-q", "-q", "-o", file, "-p", std::to_string(subject.Id())};
    System::Process tracer(start);
    AwaitTracer(subject.Id());
    const std::size_t linesBefore = subject.Lines();
    SystemCalls calls;
    calls.lost = subject.TheApplication().Run(Frames, FrameSize, 1).lost;
    subject.AwaitSilence();
    const std::size_t lines = subject.Lines() - linesBefore;
    tracer.Signal(SIGINT);
    tracer.Wait();

    std::ifstream traced(file);
    std::size_t writes = 0;
    for (std::string line; std::getline(traced, line);)
    {
        writes += line.find(" write(1, ") != std::string::npos ? 1 : 0;
        if (const std::string name = FinishedCall(line); !name.empty())
        {
            calls.perFrame[name] += 1.0 / static_cast<double>(Frames);
            calls.perFrameInAll += 1.0 / static_cast<double>(Frames);
            calls.waitsPerFrame += name == "futex" ? 1.0 / static_cast<double>(Frames) : 0;
        }
    }
    calls.writesPerLine = lines == 0 ? 0 : static_cast<double>(writes) / static_cast<double>(lines);
    return calls;
}

Idleness WatchIdle(const Program& program, const Processors& processors, std::chrono::seconds duration,
                   unsigned int periodicThreads)
{
    Subject subject(program, processors);
    WarmUp(subject);
    subject.AwaitSilence();

    const auto begin = std::chrono::steady_clock::now();
    const long sleeps = subject.Sleeps();
    const auto used = subject.ProcessorTime();
    std::this_thread::sleep_for(duration);
    Idleness result;
    const auto wakeUps = static_cast<double>(subject.Sleeps() - sleeps);
    const std::chrono::duration<double> processorTime = subject.ProcessorTime() - used;
    const std::chrono::duration<double> watched = std::chrono::steady_clock::now() - begin;
    constexpr double PeriodsPerSecond = 4;
    result.wakeUpsPerSecond = wakeUps / watched.count();
    result.mostPossible = periodicThreads * (PeriodsPerSecond + 1 / watched.count());
    result.processorShare = processorTime / watched;
    result.threads = subject.Threads();
    return result;
}
