#include "Subject.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t TailSize = 1000; // bytes; some lines

System::Process StartOn(int processor, const Program& program, int output)
{
    KeepOn(processor);
    System::Process::Start start;
    start.command = program.command;
    start.environment = program.environment;
    start.standardOutput = output;
    return System::Process(start);
}

// The number behind `key` in a file of lines as "key: 12 kB".
long NumberIn(const std::filesystem::path& file, const std::string& key)
{
    std::ifstream stream(file);
    for (std::string line; std::getline(stream, line);)
    {
        if (line.rfind(key + ":", 0) == 0)
        {
            return std::stol(line.substr(key.size() + 1));
        }
    }
    throw std::runtime_error("no " + key + " in " + file.string());
}

std::filesystem::path Directory(pid_t process)
{
    return "/proc/" + std::to_string(process);
}

} // namespace

void KeepOn(int processor)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(0, sizeof(set), &set) == -1)
    {
        throw std::runtime_error("cannot use processor " + std::to_string(processor));
    }
}

Subject::Subject(const Program& program, const Processors& processors)
    : application(program.fromLlName, program.toLlName)
    , begin(Clock::now())
    , process(StartOn(processors.subject, program, output.writing.Number()))
{
    KeepOn(processors.application);
    output.writing.Close();
    reader = std::thread(&Subject::ReadOutput, this);
    try
    {
        application.AwaitLinkState();
    }
    catch (const std::runtime_error& failure)
    {
        End();
        throw std::runtime_error(failure.what() + ("; the last that the program wrote:\n" + tail));
    }
    startTime = Clock::now() - begin;
}

Subject::~Subject()
{
    End();
}

void Subject::End()
{
    process.Signal(SIGKILL);
    process.Wait();
    reader.join();
}

void Subject::ReadOutput()
{
    std::array<char, 16384> block{};
    for (ssize_t size = 1; size > 0;)
    {
        size = read(output.reading.Number(), block.data(), block.size());
        const std::lock_guard lock(tailMutex);
        tail.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        tail.erase(0, tail.size() - std::min(tail.size(), TailSize));
        lines += static_cast<std::size_t>(std::count(block.begin(), block.begin() + std::max<ssize_t>(size, 0), '\n'));
    }
}

Exchange Subject::Run(std::size_t count, std::size_t size, std::size_t underWay)
{
    Exchange exchange = application.Run(count, size, underWay);
    if (exchange.lost != 0)
    {
        const std::lock_guard lock(tailMutex);
        throw std::runtime_error("a frame was lost; the last that the program wrote:\n" + tail);
    }
    return exchange;
}

std::chrono::nanoseconds Subject::Stop()
{
    const auto asked = Clock::now();
    process.Signal(SIGINT);
    const int status = process.Wait();
    const auto ended = Clock::now();
    if (status != EXIT_SUCCESS)
    {
        throw std::runtime_error("the daemon ended with status " + std::to_string(status));
    }
    return ended - asked;
}

std::chrono::nanoseconds Subject::ProcessorTime() const
{
    clockid_t clock = 0;
    timespec used{};
    if (clock_getcpuclockid(process.Id(), &clock) != 0 || clock_gettime(clock, &used) == -1)
    {
        throw std::runtime_error("cannot read the processor time of process " + std::to_string(process.Id()));
    }
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

long Subject::Sleeps() const
{
    long sleeps = 0;
    for (const auto& thread : std::filesystem::directory_iterator(Directory(process.Id()) / "task"))
    {
        sleeps += NumberIn(thread.path() / "status", "voluntary_ctxt_switches");
    }
    return sleeps;
}

std::size_t Subject::Threads() const
{
    const std::filesystem::directory_iterator threads(Directory(process.Id()) / "task");
    return static_cast<std::size_t>(std::distance(threads, std::filesystem::directory_iterator()));
}

long Subject::ResidentMemory() const
{
    return NumberIn(Directory(process.Id()) / "smaps_rollup", "Rss");
}

long Subject::ProportionalMemory() const
{
    return NumberIn(Directory(process.Id()) / "smaps_rollup", "Pss");
}

void Subject::AwaitSilence() const
{
    constexpr std::chrono::milliseconds enough{300}; // longer than any period of the daemon's
    std::size_t before = 0;
    do
    {
        before = lines;
        std::this_thread::sleep_for(enough);
    } while (before != lines);
}
