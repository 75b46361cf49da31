#include "Subject.h"

#include "BenchKit/ProcessFiles.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
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

} // namespace

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

std::size_t Subject::Threads() const
{
    const std::filesystem::directory_iterator threads(DirectoryOf(process.Id()) / "task");
    return static_cast<std::size_t>(std::distance(threads, std::filesystem::directory_iterator()));
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
