// orvel-board: the daemon on a simulated board, for people without the hardware.

#include "Board.h"
#include "Commands.h"
#include "KnxIp.h"
#include "LiveBoard.h"
#include "Namespaces.h"
#include "Options.h"
#include "Rendezvous.h"
#include "Session.h"
#include "StartPriority.h"
#include "Terminal.h"
#include "TerminalGuard.h"
#include "Version.h"

#include "System/Process.h"
#include "System/Signals.h"
#include "System/ThrowErrno.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>

using namespace Simulator;

namespace
{

constexpr int UsageError = 2;
constexpr int BoardError = 1;

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

System::Process::Start DaemonStart(const Options& options)
{
    const auto driver =
        MustExist(options.driver.empty() ? OwnDirectory() / ORVEL_DRIVER_FROM_BIN : options.driver, "driver");
    const auto library =
        MustExist((options.library.empty() ? OwnDirectory() / ORVEL_LIBRARY_FROM_BIN : options.library) / "libNemt.so",
                  "library")
            .parent_path();
    System::Process::Start start;
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

// Where the board is shown and the person's commands come from: the terminal, or standard output and input.
class Front
{
public:
    // `guard` is the process that guards the terminal, if the board is shown there.
    Front(const Options& options, std::optional<pid_t> terminalGuard)
        : guard(terminalGuard)
    {
        if (guard)
        {
            EndWithGuard(*guard);
            screen.emplace(options.name, options.demo);
        }
    }

    void OnEvent(std::chrono::microseconds since, const Event& event)
    {
        screen ? screen->OnEvent(since, event) : Say("board", since, TextOf(event));
    }

    int DaemonOutput() const
    {
        return screen ? screen->DaemonOutput() : -1;
    }

    Session::Person Person()
    {
        if (screen)
        {
            return {screen->Commands(), [this](const std::string& answer) { screen->OnAnswer(answer); }};
        }
        return {STDIN_FILENO, [](const std::string& answer) { std::fprintf(stderr, "%s\n", answer.c_str()); }};
    }

    // The screen is gone then, and with it why the daemon failed and what was counted.
    void End(int status, const std::string& counters)
    {
        if (screen)
        {
            LeaveTerminalWithout(*guard);
            screen->End();
            std::fputs((status != 0 ? screen->LastLines() : counters).c_str(), stdout);
        }
    }

private:
    std::optional<pid_t> guard;
    std::optional<LiveBoard> screen;
};

int RunBoard(const Options& options, std::optional<pid_t> guard)
{
    System::Process::Start daemonStart = DaemonStart(options);
    if (guard)
    {
        BlockScreenSignals();
    }
    const System::StopSignals signals;
    const StartPriority priority;
    const Rendezvous rendezvous(options.name); // before the namespaces, in which this user has another number
    EnterNamespaces();

    Front front(options, guard);
    daemonStart.standardOutput = front.DaemonOutput();
    EventLog events([&front](std::chrono::microseconds since, const Event& event) { front.OnEvent(since, event); });
    daemonStart.beforeExec = [&priority, &events, told = false](pid_t daemon) mutable
    {
        if (const int error = priority.Raise(daemon); error != 0 && !told)
        {
            events.Add({Event::DaemonAtOrdinaryPriority, error});
            told = true;
        }
    };
    Board board(events, options.resetGpio);
    std::optional<KnxIp> knxIp;
    if (options.knxIp)
    {
        knxIp.emplace(*options.knxIp, board.TheCoProcessor(), events);
    }
    Session session(daemonStart, board, events, rendezvous, signals, front.Person());
    if (options.demo)
    {
        session.StartDemonstration();
    }
    const int status = session.Run();
    front.End(status, knxIp ? knxIp->End() + '\n' : "");
    return status;
}

int RunBoard(const Options& options)
{
    if (options.plain || !Terminal::IsThere())
    {
        std::signal(SIGTTIN, SIG_IGN); // in the background of a shell reading fails, and there are no commands
        return RunBoard(options, std::nullopt);
    }
    const pid_t guard = getpid();
    const auto ended = GuardTerminal();
    return ended ? *ended : RunBoard(options, guard);
}

[[noreturn]] void RunOnBoard(const Options& options)
{
    JoinNamespaces(Rendezvous::Find(options.name));
    System::Execute(options.command.front(), options.command);
    System::ThrowErrno("cannot run " + options.command.front());
}

int ListBoards()
{
    const auto boards = Rendezvous::List();
    if (boards.empty())
    {
        std::fputs("orvel-board: no board is running\n", stderr);
    }
    for (const auto& board : boards)
    {
        const std::string daemon =
            board.daemon == Rendezvous::NoDaemon ? "no daemon" : "daemon " + std::to_string(board.daemon);
        std::printf("%s  %s\n", board.name.c_str(), daemon.c_str());
    }
    return EXIT_SUCCESS;
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
        case Options::Mode::Version:
            std::printf("%s", OrvelVersion::VersionText("orvel-board").c_str());
            return EXIT_SUCCESS;
        case Options::Mode::Exec:
            RunOnBoard(options);
        case Options::Mode::List:
            return ListBoards();
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
