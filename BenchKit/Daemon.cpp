#include "BenchKit/Daemon.h"

#include "BenchKit/Await.h"
#include "BenchKit/Paths.h"

#include <algorithm>
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
    return given != nullptr ? given : Paths::Driver();
}

Daemon::Daemon(std::vector<std::string> options)
    : Daemon(DriverCommand(std::move(options)), {{"LD_LIBRARY_PATH", Paths::StandInLibrary()}})
{
}

Daemon Daemon::OnTraceLibrary(std::vector<std::string> options, Environment environment)
{
    environment.emplace_back("LD_LIBRARY_PATH", Paths::TraceLibrary());
    return {DriverCommand(std::move(options)), std::move(environment)};
}

Daemon::Daemon(std::vector<std::string> command, Environment environment, int standardInput)
{
    start.command = std::move(command);
    start.environment = std::move(environment);
    start.standardInput = standardInput;
#ifdef __SANITIZE_THREAD__
    // First, so that the test's own environment wins.
    start.environment.insert(start.environment.begin(), {"LD_PRELOAD", Paths::LateThreads()});
#endif
    Begin();
}

void Daemon::Begin()
{
    process = std::make_unique<PipedProcess>(start,
                                             [this](const std::string& line)
                                             {
                                                 const std::lock_guard lock(mutex);
                                                 lines.push_back(line);
                                                 added.notify_all();
                                             });
}

void Daemon::Restart()
{
    Stop();
    lines.clear();
    awaited = 0;
    Begin();
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

bool Daemon::HasEnded() const
{
    return process->HasEnded();
}

int Daemon::Wait()
{
    // A program that does not end is killed, and its status shows that: the test then fails without holding up
    // others.
    if (!process->EndsWithin(Patience))
    {
        process->Signal(SIGKILL);
    }
    return process->Wait();
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
