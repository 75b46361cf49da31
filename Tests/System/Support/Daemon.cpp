#include "Daemon.h"

#include "Await.h"

#include "System/Lines.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <regex>

namespace
{

std::vector<std::string> DriverCommand(std::vector<std::string> options)
{
    options.insert(options.begin(), Daemon::Program());
    return options;
}

} // namespace

std::string Daemon::Program()
{
    // A script can stand in the daemon's place, and runs the daemon in its own way.
    const char* const given = getenv("ORVEL_TEST_DRIVER");
    return given != nullptr ? given : DRIVER;
}

Daemon::Daemon(std::vector<std::string> options)
    : Daemon(DriverCommand(std::move(options)), {{"LD_LIBRARY_PATH", STAND_IN_LIBRARY}})
{
}

Daemon Daemon::OnTraceLibrary(std::vector<std::string> options, Environment environment)
{
    environment.emplace_back("LD_LIBRARY_PATH", TRACE_LIBRARY);
    return {DriverCommand(std::move(options)), std::move(environment)};
}

Daemon::Daemon(std::vector<std::string> command, Environment environment, int standardInput)
{
    start.command = std::move(command);
    start.environment = std::move(environment);
    start.standardInput = standardInput;
#ifdef __SANITIZE_THREAD__
    start.environment.emplace_back("LD_PRELOAD", LATE_THREADS);
#endif
    Begin();
}

void Daemon::Begin()
{
    System::Pipe pipe;
    output = std::move(pipe.reading);
    start.standardOutput = pipe.writing.Number();
    process = std::make_unique<System::Process>(start);
    pipe.writing.Close();
    reader = std::thread(&Daemon::ReadOutput, this);
}

void Daemon::Restart()
{
    Stop();
    lines.clear();
    awaited = 0;
    Begin();
}

Daemon::~Daemon()
{
    process.reset();
    if (reader.joinable())
    {
        reader.join();
    }
}

void Daemon::ReadOutput()
{
    System::Lines splitter;
    const auto add = [this](const std::string& line) { lines.push_back(line); };
    std::array<char, 4096> buffer{};
    ssize_t size = 0;
    do
    {
        size = read(output.Number(), buffer.data(), buffer.size());
        const std::lock_guard lock(mutex);
        if (size > 0)
        {
            splitter.Take({buffer.data(), static_cast<std::size_t>(size)}, add);
        }
        else
        {
            splitter.End(add);
        }
        added.notify_all();
    } while (size > 0);
}

bool Daemon::AwaitLine(const std::string& text)
{
    std::unique_lock lock(mutex);
    return added.wait_for(lock, Patience,
                          [&]
                          {
                              while (awaited < lines.size())
                              {
                                  if (lines[awaited++].find(text) != std::string::npos)
                                  {
                                      return true;
                                  }
                              }
                              return false;
                          });
}

bool Daemon::AwaitEvent(const Simulator::Event& event)
{
    return AwaitLine(TextOf(event));
}

void Daemon::Interrupt() const
{
    Signal(SIGINT);
}

void Daemon::Signal(int signal) const
{
    process->Signal(signal);
}

pid_t Daemon::Id() const
{
    return process->Id();
}

int Daemon::Wait()
{
    // A program that does not end is killed, and its status shows that: the test then fails without holding up
    // others.
    constexpr auto Limit = std::chrono::duration_cast<std::chrono::milliseconds>(Patience);
    pollfd entry{process->Descriptor(), POLLIN, 0};
    int ended = -1;
    while (ended == -1)
    {
        ended = poll(&entry, 1, static_cast<int>(Limit.count())); // -1: by a signal
    }
    if (ended == 0)
    {
        process->Signal(SIGKILL);
    }
    const int status = process->Wait();
    if (reader.joinable())
    {
        reader.join();
    }
    return status;
}

int Daemon::Stop()
{
    Interrupt();
    return Wait();
}

std::vector<std::string> Daemon::Lines() const
{
    const std::lock_guard lock(mutex);
    return lines;
}

std::vector<Daemon::LogLine> Daemon::Log() const
{
    // 03.07.2024 14:05:09.042 [140089525880640] ERROR Reset <> - Failed ...
    // The service's configuration puts a priority before it, such as <3>.
    static const std::regex pattern(
        R"(^(?:<\d>)?(\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d)\.(\d{3}) \[(\d+)\] ([A-Z]+) +(\w+) <> - (.*)$)");
    std::vector<LogLine> found;
    for (const std::string& line : Lines())
    {
        if (std::smatch part; std::regex_match(line, part, pattern))
        {
            tm date{};
            strptime(part[1].str().c_str(), "%d.%m.%Y %H:%M:%S", &date);
            const auto time = std::chrono::seconds(timegm(&date)) + std::chrono::milliseconds(std::stoi(part[2]));
            found.push_back({time, part[3], part[4].str() + " " + part[5].str() + " " + part[6].str()});
        }
    }
    return found;
}

std::vector<std::string> Daemon::LogLines() const
{
    std::vector<std::string> found;
    for (const LogLine& line : Log())
    {
        found.push_back(line.text);
    }
    return found;
}

std::vector<std::string> Daemon::MainThreadLines() const
{
    std::vector<std::string> found;
    const auto log = Log();
    for (const LogLine& line : log)
    {
        if (line.thread == log.front().thread)
        {
            found.push_back(line.text);
        }
    }
    return found;
}

long Daemon::Count(const std::string& line) const
{
    const auto log = LogLines();
    return std::count(log.begin(), log.end(), line);
}

std::optional<std::chrono::milliseconds> Daemon::TimeOf(const std::string& text) const
{
    for (const LogLine& line : Log())
    {
        if (line.text == text)
        {
            return line.time;
        }
    }
    return std::nullopt;
}
