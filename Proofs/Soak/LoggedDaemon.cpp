#include "LoggedDaemon.h"

#include "System/Lines.h"

#include <poll.h>
#include <unistd.h>

#include <utility>

LoggedDaemon::LoggedDaemon(const std::vector<std::string>& options, std::function<void(const std::string&)> onLine)
    : handler(std::move(onLine))
{
    System::Pipe pipe;
    output = std::move(pipe.reading);
    System::Process::Start start;
    start.command = options;
    start.command.insert(start.command.begin(), DRIVER);
    start.environment = {{"LD_LIBRARY_PATH", STAND_IN_LIBRARY}};
    start.standardOutput = pipe.writing.Number();
    process = std::make_unique<System::Process>(start);
    pipe.writing.Close();
    reader = std::thread(&LoggedDaemon::ReadOutput, this);
}

LoggedDaemon::~LoggedDaemon()
{
    process.reset();
    if (reader.joinable())
    {
        reader.join();
    }
}

bool LoggedDaemon::HasEnded() const
{
    pollfd entry{process->Descriptor(), POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

int LoggedDaemon::Wait()
{
    const int status = process->Wait();
    if (reader.joinable())
    {
        reader.join();
    }
    return status;
}

void LoggedDaemon::ReadOutput()
{
    constexpr std::size_t BlockSize = 65'536;
    std::vector<char> buffer(BlockSize);
    System::Lines lines;
    for (ssize_t size = 0; (size = read(output.Number(), buffer.data(), buffer.size())) > 0;)
    {
        lines.Take({buffer.data(), static_cast<std::size_t>(size)}, handler);
    }
}
