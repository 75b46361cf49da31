// orvel-board: the daemon on a simulated board, for people without the hardware.

#include "Board.h"
#include "DevicePlayer.h"
#include "EventJson.h"
#include "Inputs.h"
#include "KnxIp.h"
#include "LiveBoard.h"
#include "Meaning.h"
#include "Namespaces.h"
#include "Options.h"
#include "Rendezvous.h"
#include "Session.h"
#include "StartPriority.h"

#include "System/Process.h"
#include "System/Signals.h"
#include "System/Terminal/Terminal.h"
#include "System/Terminal/TerminalGuard.h"
#include "System/ThrowErrno.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

using namespace Simulator;

namespace
{

constexpr int UsageError = 2;
constexpr int BoardError = 1;

// One call for each line: the daemon writes to the same terminal or pipe.
void WriteAsText(std::chrono::microseconds since, const Event& event, const Knx::KnownGroups& groups)
{
    std::printf("board %8.3f s  %s\n", std::chrono::duration<double>(since).count(), TextOf(event, groups).c_str());
    std::fflush(stdout);
}

void WriteAsJson(std::chrono::microseconds since, const Event& event)
{
    std::printf("%s\n", JsonOf(since, event).c_str());
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

std::optional<System::Process::Start> GatewayStart(const Options& options)
{
    if (!options.gateway)
    {
        return std::nullopt;
    }
    const auto gateway =
        MustExist(options.gatewayProgram.empty() ? OwnDirectory() / ORVEL_GATEWAY_FROM_BIN : options.gatewayProgram,
                  "gateway-program");
    System::Process::Start start;
    start.command = {std::filesystem::absolute(gateway).lexically_normal(), "--metrics", GatewayRun::MetricsFile};
    return start;
}

// Where the board is shown and the person's commands come from: the terminal, or standard output and input.
class Front
{
public:
    // `guard` is the process that guards the terminal, if the board is shown there.
    Front(const Options& options, std::optional<pid_t> terminalGuard, const Knx::KnownGroups& knownGroups)
        : json(options.json)
        , guard(terminalGuard)
        , groups(knownGroups)
    {
        if (guard)
        {
            System::EndWithGuard(*guard);
            screen.emplace(options.name, options.demo, groups);
        }
    }

    void OnEvent(std::chrono::microseconds since, const Event& event)
    {
        if (screen)
        {
            screen->OnEvent(since, event);
        }
        else if (json)
        {
            WriteAsJson(since, event);
        }
        else
        {
            WriteAsText(since, event, groups);
        }
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
            System::LeaveTerminalWithout(*guard);
            screen->End();
            std::fputs((status != 0 ? screen->LastLines() : counters).c_str(), stdout);
        }
    }

private:
    const bool json;
    std::optional<pid_t> guard;
    const Knx::KnownGroups& groups;
    std::optional<LiveBoard> screen;
};

// "Ceiling, Window and 3 more"
std::string Listed(const std::vector<std::string>& names)
{
    constexpr std::size_t shown = 5;
    std::string text;
    for (std::size_t index = 0; index < std::min(shown, names.size()); ++index)
    {
        text += (index == 0 ? "" : ", ") + names[index];
    }
    return text + (names.size() > shown ? " and " + std::to_string(names.size() - shown) + " more" : "");
}

int RunBoard(const Options& options, DeviceFile devices, const Knx::KnownGroups& groups, std::optional<pid_t> guard)
{
    System::Process::Start daemonStart = DaemonStart(options);
    std::optional<System::Process::Start> gatewayStart = GatewayStart(options);
    if (guard)
    {
        System::BlockSignals(System::Terminal::Signals);
    }
    const System::StopSignals signals;
    const StartPriority priority;
    const Rendezvous rendezvous(options.name); // before the namespaces, in which this user has another number
    EnterNamespaces();

    Front front(options, guard, groups);
    daemonStart.standardOutput = front.DaemonOutput();
    if (gatewayStart)
    {
        gatewayStart->standardOutput = front.DaemonOutput();
    }
    HeardTelegrams heard;
    const bool hasDevices = !devices.devices.empty();
    EventLog events(
        [&front, &heard, hasDevices](std::chrono::microseconds since, const Event& event)
        {
            front.OnEvent(since, event);
            if (hasDevices)
            {
                heard.OnEvent(event);
            }
        });
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
    std::optional<DevicePlayer> player;
    if (hasDevices)
    {
        events.Add({Event::Note, "devices on the bus: " + Listed(devices.names)});
        player.emplace(std::move(devices.devices), heard,
                       [&board, &knxIp](const Bytes& telegram)
                       { knxIp ? knxIp->SendTelegram(telegram) : board.TheCoProcessor().InjectTelegram(telegram); });
    }
    Session session({daemonStart, gatewayStart}, board, events, rendezvous, signals, front.Person(), groups);
    if (options.demo)
    {
        session.StartDemonstration();
    }
    const int status = session.Run();
    front.End(status, knxIp ? TextOf(knxIp->End()) + '\n' : "");
    return status;
}

int RunBoard(const Options& options)
{
    const Knx::GroupAddresses names = ReadNames(options.names);
    DeviceFile devices = ReadDeviceFile(options.devices, names);
    const Knx::KnownGroups groups(WithGroupsOf(devices, names));
    if (options.plain || !System::Terminal::IsThere())
    {
        std::signal(SIGTTIN, SIG_IGN); // in the background of a shell reading fails, and there are no commands
        return RunBoard(options, std::move(devices), groups, std::nullopt);
    }
    const pid_t guard = getpid();
    const auto ended = System::GuardTerminal("orvel-board: the board was killed");
    return ended ? *ended : RunBoard(options, std::move(devices), groups, guard);
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
        case Options::Mode::Print:
            std::fputs(options.text.c_str(), stdout);
            return EXIT_SUCCESS;
        case Options::Mode::Exec:
            RunOnBoard(options);
        case Options::Mode::List:
            return ListBoards();
        case Options::Mode::Run:
            return RunBoard(options);
        }
    }
    catch (const BrokenFile& wrong)
    {
        std::fprintf(stderr, "orvel-board: %s\n", wrong.what());
        return UsageError;
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "orvel-board: %s\n", failure.what());
    }
    return BoardError;
}
