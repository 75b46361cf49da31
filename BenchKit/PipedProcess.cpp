#include "BenchKit/PipedProcess.h"

#include "System/Lines.h"

#include <poll.h>
#include <unistd.h>

#include <utility>
#include <vector>

PipedProcess::PipedProcess(System::Process::Start start, OnLine onLine)
{
    System::Pipe pipe;
    output = std::move(pipe.reading);
    start.standardOutput = pipe.writing.Number();
    process.emplace(start);
    reader = std::thread([this, handler = std::move(onLine)] { ReadOutput(handler); });
}

PipedProcess::~PipedProcess()
{
    process.reset();
    if (reader.joinable())
    {
        reader.join();
    }
}

bool PipedProcess::EndsWithin(std::chrono::milliseconds patience) const
{
    pollfd entry{process->Descriptor(), POLLIN, 0};
    int ended = -1;
    while (ended == -1)
    {
        ended = poll(&entry, 1, static_cast<int>(patience.count())); // -1: by a signal
    }
    return ended > 0;
}

int PipedProcess::Wait()
{
    const int status = process->Wait();
    if (reader.joinable())
    {
        reader.join();
    }
    return status;
}

void PipedProcess::ReadOutput(const OnLine& onLine) const
{
    constexpr std::size_t BlockSize = 65'536; // all that a pipe holds
    std::vector<char> block(BlockSize);
    System::Lines lines;
    for (ssize_t size = 0; (size = read(output.Number(), block.data(), block.size())) > 0;)
    {
        lines.Take({block.data(), static_cast<std::size_t>(size)}, onLine);
    }
    lines.End(onLine);
}
