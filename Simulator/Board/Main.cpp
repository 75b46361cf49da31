// orvel-board: the daemon on a simulated board, for people without the hardware.

#include "Board.h"
#include "Commands.h"
#include "Demonstration.h"
#include "KnxIp.h"
#include "Namespaces.h"
#include "Options.h"
#include "Process.h"
#include "Rendezvous.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace Simulator;

namespace
{

constexpr int UsageError = 2;
constexpr int BoardError = 1;
// The daemon ends in a fraction of a second unless it is in a long reconnection.
constexpr std::chrono::seconds StopLimit{15};
// A stop that comes again so soon is the same one: some programs signal a process and then its group.
constexpr std::chrono::seconds ForceAfter{1};

void Say(const char* who, std::chrono::microseconds since, const std::string& text)
{
    // One call for each line: the daemon writes to the same terminal or pipe.
    std::printf("%s %8.3f s  %s\n", who, std::chrono::duration<double>(since).count(), text.c_str());
    std::fflush(stdout);
}

// Where the programs lie beside each other, in an installation and in the build tree.
std::filesystem::path OwnDirectory()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::filesystem::path MustExist(const std::filesystem::path& path, const char* option)
{
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored))
    {
        throw std::runtime_error("there is no " + path.string() + "; say where it is with --" + option);
    }
    return path;
}

Process::Start DaemonStart(const Options& options)
{
    const auto driver =
        MustExist(options.driver.empty() ? OwnDirectory() / ORVEL_DRIVER_FROM_BIN : options.driver, "driver");
    const auto library =
        MustExist((options.library.empty() ? OwnDirectory() / ORVEL_LIBRARY_FROM_BIN : options.library) / "libNemt.so",
                  "library")
            .parent_path();
    Process::Start start;
    start.command = options.command;
    start.command.insert(start.command.begin(), std::filesystem::absolute(driver).lexically_normal());
    std::string path = std::filesystem::absolute(library).lexically_normal();
    if (const char* const others = std::getenv("LD_LIBRARY_PATH"); others != nullptr && *others != '\0')
    {
        path += std::string(":") + others;
    }
    start.environment = {{"LD_LIBRARY_PATH", path}};
    return start;
}

// SIGINT, SIGTERM and SIGHUP as a descriptor. Made before any thread, because a thread that does not block them would die
// of them, and all others with it.
class StopSignals
{
public:
    StopSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        {
            sigaddset(&signals, signal);
        }
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    }

    ~StopSignals()
    {
        close(descriptor);
    }

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    int Descriptor() const
    {
        return descriptor;
    }

    void Take() const
    {
        signalfd_siginfo ignored{};
        static_cast<void>(read(descriptor, &ignored, sizeof(ignored)) == -1);
    }

private:
    int descriptor;
};

// The lines of standard input, without ever waiting for one.
class CommandInput
{
public:
    /// Reads what is there and hands each line to `onLine`, at the end of the input also one without its newline. False at
    /// the end.
    template<typename Handler>
    bool Read(const Handler& onLine)
    {
        std::array<char, 4096> buffer{};
        const ssize_t size = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (size == -1 && (errno == EINTR || errno == EAGAIN))
        {
            return true;
        }
        if (size <= 0)
        {
            onLine(pending);
            return false;
        }
        pending.append(buffer.data(), static_cast<std::size_t>(size));
        for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n'))
        {
            onLine(pending.substr(0, end));
            pending.erase(0, end + 1);
        }
        return true;
    }

private:
    std::string pending;
};

// Everything that goes on while the daemon runs.
class Session
{
public:
    Session(const Process::Start& daemonStart, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
            const StopSignals& stopSignals)
        : board(theBoard)
        , events(eventLog)
        , rendezvous(meeting)
        , signals(stopSignals)
        , commands(theBoard.TheCoProcessor())
        , demonstrationDone(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
        , daemon(daemonStart)
    {
        events.Add("daemon started");
    }

    ~Session()
    {
        demonstrationCancelled = true;
        if (demonstration.joinable())
        {
            demonstration.join();
        }
        close(demonstrationDone);
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The commands of a person are taken once it is over.
    void StartDemonstration()
    {
        reading = false;
        demonstration = std::thread(
            [this]
            {
                Demonstrate(board, events, demonstrationCancelled,
                            [this](const std::string& text) { events.Add(text); });
                eventfd_write(demonstrationDone, 1);
            });
    }

    /// Until the daemon has ended; returns its exit status.
    int Run()
    {
        while (Step())
        {
        }
        const int status = daemon.Wait();
        events.Add("daemon ended with status " + std::to_string(status));
        return status;
    }

private:
    using Clock = std::chrono::steady_clock;

    // False when the daemon has ended.
    bool Step()
    {
        std::array<pollfd, 5> set{{{daemon.Descriptor(), POLLIN, 0},
                                   {signals.Descriptor(), POLLIN, 0},
                                   {rendezvous.Descriptor(), POLLIN, 0},
                                   {demonstrationDone, POLLIN, 0},
                                   {reading ? STDIN_FILENO : -1, POLLIN, 0}}};
        if (poll(set.data(), set.size(), PollTimeout()) == 0)
        {
            daemon.Signal(SIGKILL);
        }
        const auto isReady = [&set](std::size_t index) { return set.at(index).revents != 0; };
        if (isReady(1))
        {
            signals.Take();
            Stop();
        }
        if (isReady(2))
        {
            rendezvous.Greet();
        }
        if (isReady(3))
        {
            eventfd_t ignored = 0;
            eventfd_read(demonstrationDone, &ignored);
            reading = true;
        }
        if (isReady(4))
        {
            reading = input.Read([this](const std::string& line) { Execute(line); });
        }
        return !isReady(0);
    }

    void Execute(const std::string& line)
    {
        if (const std::string answer = commands.Execute(line); !answer.empty())
        {
            std::fprintf(stderr, "%s\n", answer.c_str());
        }
        if (commands.QuitRequested() && !stopBegan)
        {
            Stop();
        }
    }

    // At first in the daemon's own way, when it is asked for again by force.
    void Stop()
    {
        const auto now = Clock::now();
        if (!stopBegan)
        {
            stopBegan = now;
            daemon.Signal(SIGINT);
        }
        else if (now - *stopBegan > ForceAfter)
        {
            daemon.Signal(SIGKILL);
        }
    }

    // ms until the daemon has had its time to end; -1 while it need not.
    int PollTimeout() const
    {
        if (!stopBegan)
        {
            return -1;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*stopBegan + StopLimit - Clock::now());
        return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
    }

    Board& board;
    EventLog& events;
    const Rendezvous& rendezvous;
    const StopSignals& signals;
    Commands commands;
    CommandInput input;
    bool reading = true;
    std::optional<Clock::time_point> stopBegan;
    int demonstrationDone;
    std::atomic<bool> demonstrationCancelled{false};
    std::thread demonstration;
    Process daemon;
};

int RunBoard(const Options& options)
{
    const Process::Start daemonStart = DaemonStart(options);
    const StopSignals signals;
    const Rendezvous rendezvous(options.name); // before the namespaces, in which this user has another number
    EnterNamespaces();

    EventLog events([](std::chrono::microseconds since, const std::string& event) { Say("board", since, event); });
    Board board(events, options.resetGpio);
    std::optional<KnxIp> knxIp;
    if (options.knxIp)
    {
        knxIp.emplace(*options.knxIp, board.TheCoProcessor(), events);
    }
    rendezvous.Announce();
    Session session(daemonStart, board, events, rendezvous, signals);
    if (options.demo)
    {
        session.StartDemonstration();
    }
    return session.Run();
}

[[noreturn]] void RunOnBoard(const Options& options)
{
    JoinNamespaces(Rendezvous::Find(options.name));
    std::vector<char*> arguments;
    for (const std::string& argument : options.command)
    {
        arguments.push_back(const_cast<char*>(argument.c_str())); // exec does not write to them
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    throw std::runtime_error("cannot run " + options.command.front() + ": " + strerror(errno));
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    try
    {
        options = ParseOptions(argc, argv);
    }
    catch (const std::runtime_error& wrong)
    {
        std::fprintf(stderr, "orvel-board: %s (--help tells more)\n", wrong.what());
        return UsageError;
    }
    try
    {
        switch (options.mode)
        {
        case Options::Mode::Help:
            std::printf("%s\n%s\n", options.help.c_str(), Commands::Help().c_str());
            return EXIT_SUCCESS;
        case Options::Mode::Exec:
            RunOnBoard(options);
        case Options::Mode::Run:
            return RunBoard(options);
        }
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "orvel-board: %s\n", failure.what());
    }
    return BoardError;
}
