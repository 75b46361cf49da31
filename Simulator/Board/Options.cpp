#include "Options.h"

#include "Commands.h"
#include "Version.h"

#include "Arguments/Parser.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace Simulator
{

namespace
{

using Arguments::Parser;
using Arguments::Wrong;

constexpr int MaxGpio = 31;          // the simulated chip has the pins 0 to 31
constexpr std::size_t MaxName = 100; // bytes; that of a file

void AddName(Parser& parser, std::string& name, const std::string& text)
{
    parser.Option(
        "--name",
        [&name](const std::string& given)
        {
            if (given.empty() || given.size() > MaxName || given[0] == '.' || given.find('/') != std::string::npos)
            {
                throw Wrong("takes 1 to " + std::to_string(MaxName) + " bytes, without '/' and no '.' as the first");
            }
            name = given;
        },
        text + ", default is: " + name);
}

void AddOptions(Parser& parser, Options& options, KnxIp::Settings& knxIp)
{
    parser.Flag("--demo", options.demo, "First show a telegram each way, an LED, the button and a recovered link.");
    parser.Flag("--plain", options.plain, "Write what happens line by line and read commands, as without a terminal.");
    parser.Flag("--json", options.json, "As --plain, but with each event as a JSON object, for programs.");
    AddName(parser, options.name, "Name of the board, by which exec and shell find it");
    parser.Option("--names", options.names,
                  "Take names and types of group addresses from this export of the engineering tool, default is: "
                  "/etc/orvel/group-addresses.xml");
    parser.Option("--devices", options.devices, "Play the devices of this file on the bus.");
    parser.Flag(
        "--knxip", [] {}, "Take part in KNXnet/IP routing, multicast 224.0.23.12, port 3671.");
    parser.Option("--knxip-interface", knxIp.interface, "Network interface for --knxip, default is: lo");
    parser.Choice<BusSpeed>("--bus-speed", knxIp.speed, {{"tp1", BusSpeed::Tp1}, {"unlimited", BusSpeed::Unlimited}},
                            "With --knxip: tp1 for the pace of a line of 9600 bit/s, or unlimited, default is: tp1");
    parser.Number<int>("--reset_gpio", options.resetGpio, 0, MaxGpio,
                       "GPIO pin that the co-processor's reset is wired to; tell the daemon the same, default is: 3");
    parser.Option("--driver", options.driver,
                  "The daemon to run, default is the one installed or built beside this program.");
    parser.Option("--library", options.library,
                  "Directory of the libNemt.so that the daemon loads, default is the stand-in's.");
    parser.Flag("--gateway", options.gateway, "Run orvel-gateway too, which gives the bus to many programs.");
    parser.Option("--gateway-program", options.gatewayProgram,
                  "The gateway to run, default is the one installed or built beside this program.");
    parser.Need("--knxip-interface", "--knxip");
    parser.Need("--bus-speed", "--knxip");
    parser.Need("--gateway-program", "--gateway");
    parser.Exclude({"--demo", "--gateway"}); // the demonstration reads the daemon's queues itself
}

std::vector<std::string> UsersShell()
{
    const char* const shell = std::getenv("SHELL");
    return {shell != nullptr && *shell != '\0' ? shell : "/bin/sh"};
}

void Require(bool condition, const std::string& otherwise)
{
    if (!condition)
    {
        throw Wrong(otherwise);
    }
}

// `options` has what is behind "--".
void AddCommands(Parser& program, Options& options)
{
    program.Command("exec", "[--name NAME] -- COMMAND [ARGUMENT...]", "Runs a command on a running board.",
                    [&options](Parser& exec)
                    {
                        options.mode = Options::Mode::Exec;
                        AddName(exec, options.name, "Name of the board");
                        exec.Check([&options] { Require(!options.command.empty(), "exec needs a command behind --"); });
                    });
    program.Command("shell", "[--name NAME]", "Runs your shell on a running board.",
                    [&options](Parser& shell)
                    {
                        options.mode = Options::Mode::Exec;
                        AddName(shell, options.name, "Name of the board");
                        shell.Check(
                            [&options]
                            {
                                Require(options.command.empty(), "shell takes no command; exec does");
                                options.command = UsersShell();
                            });
                    });
    program.Command("list", "", "Lists the running boards.",
                    [&options](Parser& list)
                    {
                        options.mode = Options::Mode::List;
                        list.Check([&options]
                                   { Require(options.command.empty(), "list takes no command; exec does"); });
                    });
}

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    const auto* const end = argv + argc;
    const auto* const separator =
        std::find_if(argv, end, [](const char* argument) { return std::string_view(argument) == "--"; });
    Options options;
    options.command.assign(separator == end ? end : separator + 1, end);
    KnxIp::Settings knxIp;
    Parser parser(
        "orvel-board",
        "[OPTION...] [-- ORVEL OPTION...]\n"
        "  orvel-board exec [--name NAME] -- COMMAND [ARGUMENT...]\n"
        "  orvel-board shell [--name NAME]\n"
        "  orvel-board list",
        "Runs the unmodified orvel daemon on a simulated board.\n\n"
        "In a terminal it shows the board; the key 'h' explains the keys. Otherwise it writes what happens line "
        "by line, and reads these commands:\n\n" +
            Commands::Help() + "\n");
    parser.Version(OrvelVersion::VersionText("orvel-board"));
    AddOptions(parser, options, knxIp);
    AddCommands(parser, options);
    if (const auto text = parser.Parse(static_cast<int>(separator - argv), argv))
    {
        options.mode = Options::Mode::Print;
        options.text = *text;
    }
    options.plain = options.plain || options.json;
    if (parser.Has("--knxip"))
    {
        options.knxIp = knxIp;
    }
    return options;
}

} // namespace Simulator
