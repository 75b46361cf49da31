#include "LoggedDaemon.h"

#include "System/Lines.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

LoggedDaemon::LoggedDaemon(const std::vector<std::string>& options, std::function<void(const std::string&)> onLine)
    : handler(std::move(onLine))
{
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) == -1)
    {
        throw std::runtime_error("no pipe");
    }
    output = pipe[0];
    System::Process::Start start;
    start.command = options;
    start.command.insert(start.command.begin(), DRIVER);
    start.environment = {{"LD_LIBRARY_PATH", STAND_IN_LIBRARY}};
    start.standardOutput = pipe[1];
    process = std::make_unique<System::Process>(start);
    close(pipe[1]);
    reader = std::thread(&LoggedDaemon::ReadOutput, this);
}

LoggedDaemon::~LoggedDaemon()
{
    process.reset();
    if (reader.joinable())
    {
        reader.join();
    }
    close(output);
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
    for (ssize_t size = 0; (size = read(output, buffer.data(), buffer.size())) > 0;)
    {
        lines.Take({buffer.data(), static_cast<std::size_t>(size)}, handler);
    }
}
