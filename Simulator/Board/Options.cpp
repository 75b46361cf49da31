#include "Options.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace Simulator
{

namespace
{

constexpr int MaxGpio = 31;               // the simulated chip has the pins 0 to 31
constexpr std::size_t MaxName = 100;      // bytes; that of a file
constexpr std::size_t MaxArgument = 4096; // bytes; the parser takes stack for each

cxxopts::Options Definitions()
{
    cxxopts::Options definitions(
        "orvel-board", "Runs the unmodified orvel daemon on a simulated board.\n\n"
                       "In a terminal it shows the board; the key 'h' explains the keys. Otherwise it writes\n"
                       "what happens line by line, and reads the commands below.\n");
    definitions.custom_help("[OPTION...] [-- ORVEL OPTION...]\n"
                            "  orvel-board exec [--name NAME] -- COMMAND [ARGUMENT...]\n"
                            "  orvel-board shell [--name NAME]\n"
                            "  orvel-board list");
    // clang-format off
    definitions.add_options()
        ("h,help", "Print this help message and exit.")
        ("v,version", "Print version and revision and exit.")
        ("demo", "First show a telegram each way, an LED, the button and a recovered link.")
        ("plain", "Write what happens line by line and read commands, as without a terminal.")
        ("name", "Name of the board, by which exec and shell find it, default is: board",
            cxxopts::value<std::string>())
        ("knxip", "Take part in KNXnet/IP routing, multicast 224.0.23.12, port 3671.")
        ("knxip-interface", "Network interface for --knxip, default is: lo", cxxopts::value<std::string>())
        ("bus-speed", "With --knxip: tp1 for the pace of a line of 9600 bit/s, or unlimited, default is: tp1",
            cxxopts::value<std::string>())
        ("reset_gpio", "GPIO pin that the co-processor's reset is wired to; tell the daemon the same, default is: 3",
            cxxopts::value<int>())
        ("driver", "The daemon to run, default is the one installed or built beside this program.",
            cxxopts::value<std::string>())
        ("library", "Directory of the libNemt.so that the daemon loads, default is the stand-in's.",
            cxxopts::value<std::string>());
    // clang-format on
    return definitions;
}

void Check(bool condition, const std::string& otherwise)
{
    if (!condition)
    {
        throw std::runtime_error(otherwise);
    }
}

using Given = cxxopts::ParseResult;

template<typename Value>
Value ValueOr(const Value& otherwise, const Given& given, const char* option)
{
    return given.count(option) != 0 ? given[option].as<Value>() : otherwise;
}

std::string Name(const Given& given, const std::string& otherwise)
{
    std::string name = ValueOr(otherwise, given, "name");
    Check(!name.empty() && name.size() <= MaxName && name[0] != '.' && name.find('/') == std::string::npos,
          "name must be 1 to " + std::to_string(MaxName) + " bytes, have no '/' and not begin with '.'");
    return name;
}

int ResetGpio(const Given& given, int otherwise)
{
    const int pin = ValueOr(otherwise, given, "reset_gpio");
    Check(pin >= 0 && pin <= MaxGpio,
          "reset_gpio must be 0 to " + std::to_string(MaxGpio) + ", not " + std::to_string(pin));
    return pin;
}

BusSpeed ToBusSpeed(const std::string& name)
{
    Check(name == "tp1" || name == "unlimited", "bus-speed must be tp1 or unlimited, not '" + name + "'");
    return name == "tp1" ? BusSpeed::Tp1 : BusSpeed::Unlimited;
}

std::optional<KnxIp::Settings> KnxIpSettings(const Given& given)
{
    KnxIp::Settings settings;
    settings.interface = ValueOr(settings.interface, given, "knxip-interface");
    settings.speed = ToBusSpeed(ValueOr<std::string>("tp1", given, "bus-speed"));
    if (given.count("knxip") != 0)
    {
        return settings;
    }
    for (const char* const option : {"knxip-interface", "bus-speed"})
    {
        Check(given.count(option) == 0, std::string(option) + " needs --knxip");
    }
    return std::nullopt;
}

std::vector<std::string> UsersShell()
{
    const char* const shell = std::getenv("SHELL");
    return {shell != nullptr && *shell != '\0' ? shell : "/bin/sh"};
}

// What exec or shell runs on the board; `behind` is what stands behind "--".
std::vector<std::string> CommandOnBoard(const std::string& which, const Given& given,
                                        const std::vector<std::string>& behind)
{
    Check(given.arguments().size() == given.count("name"), which + " takes no other option than --name");
    if (which == "shell")
    {
        Check(behind.empty(), "shell takes no command; exec does");
        return UsersShell();
    }
    Check(!behind.empty(), "exec needs a command behind --");
    return behind;
}

// `own` begins with the program's name.
Given Parse(cxxopts::Options& definitions, const std::vector<const char*>& own)
{
    const auto isTooLong = [](const char* argument) { return std::strlen(argument) > MaxArgument; };
    Check(std::none_of(own.begin(), own.end(), isTooLong),
          "argument of more than " + std::to_string(MaxArgument) + " bytes");
    try
    {
        Given given = definitions.parse(static_cast<int>(own.size()), own.data());
        if (!given.unmatched().empty())
        {
            throw std::runtime_error("'" + given.unmatched()[0] + "' is not understood");
        }
        return given;
    }
    catch (const cxxopts::exceptions::exception& rejected)
    {
        throw std::runtime_error(rejected.what());
    }
}

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    const auto* const end = argv + argc;
    const auto* const separator =
        std::find_if(argv, end, [](const char* argument) { return std::string_view(argument) == "--"; });
    std::vector<const char*> own(argv, separator);
    const std::string first = own.size() > 1 ? own[1] : "";
    if (first == "list")
    {
        Check(own.size() == 2 && separator == end, "list takes no option");
        Options options;
        options.mode = Options::Mode::List;
        return options;
    }
    const bool isOnBoard = first == "exec" || first == "shell";
    if (isOnBoard)
    {
        own.erase(own.begin() + 1);
    }
    Options options;
    options.command.assign(separator == end ? end : separator + 1, end);
    cxxopts::Options definitions = Definitions();
    const Given given = Parse(definitions, own);
    if (given.count("help") != 0)
    {
        options.mode = Options::Mode::Help;
        options.help = definitions.help();
        return options;
    }
    if (given.count("version") != 0)
    {
        options.mode = Options::Mode::Version;
        return options;
    }
    options.name = Name(given, options.name);
    options.knxIp = KnxIpSettings(given);
    options.resetGpio = ResetGpio(given, options.resetGpio);
    options.driver = ValueOr<std::string>("", given, "driver");
    options.library = ValueOr<std::string>("", given, "library");
    options.demo = given.count("demo") != 0;
    options.plain = given.count("plain") != 0;
    if (isOnBoard)
    {
        options.mode = Options::Mode::Exec;
        options.command = CommandOnBoard(first, given, options.command);
    }
    return options;
}

} // namespace Simulator
