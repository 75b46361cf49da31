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

BusSpeed ToBusSpeed(const std::string& name)
{
    Check(name == "tp1" || name == "unlimited", "bus-speed must be tp1 or unlimited, not '" + name + "'");
    return name == "tp1" ? BusSpeed::Tp1 : BusSpeed::Unlimited;
}

std::string UsersShell()
{
    const char* const shell = std::getenv("SHELL");
    return shell != nullptr && *shell != '\0' ? shell : "/bin/sh";
}

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    Options options;
    const auto* const end = argv + argc;
    const auto* const separator =
        std::find_if(argv, end, [](const char* argument) { return std::string_view(argument) == "--"; });
    if (separator != end)
    {
        options.command.assign(separator + 1, end);
    }

    std::vector<const char*> own(argv, separator);
    const std::string first = own.size() > 1 ? own[1] : "";
    if (first == "exec" || first == "shell")
    {
        options.mode = Options::Mode::Exec;
        own.erase(own.begin() + 1);
    }

    if (first == "list")
    {
        Check(own.size() == 2 && separator == end, "list takes no option");
        options.mode = Options::Mode::List;
        return options;
    }

    const auto isTooLong = [](const char* argument) { return std::strlen(argument) > MaxArgument; };
    Check(std::none_of(own.begin(), own.end(), isTooLong),
          "argument of more than " + std::to_string(MaxArgument) + " bytes");

    cxxopts::Options definitions = Definitions();
    try
    {
        const auto given = definitions.parse(static_cast<int>(own.size()), own.data());
        Check(given.unmatched().empty(),
              given.unmatched().empty() ? "" : "'" + given.unmatched()[0] + "' is not understood");
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
        const auto takeOver = [&given](const char* option, auto& setting)
        {
            if (given.count(option) != 0)
            {
                setting = given[option].as<std::decay_t<decltype(setting)>>();
            }
        };
        std::string driver;
        std::string library;
        takeOver("name", options.name);
        takeOver("reset_gpio", options.resetGpio);
        takeOver("driver", driver);
        takeOver("library", library);
        Check(!options.name.empty() && options.name.size() <= MaxName && options.name[0] != '.' &&
                  options.name.find('/') == std::string::npos,
              "name must be 1 to " + std::to_string(MaxName) + " bytes, have no '/' and not begin with '.'");
        options.driver = driver;
        options.library = library;
        options.demo = given.count("demo") != 0;
        options.plain = given.count("plain") != 0;

        KnxIp::Settings knxIp;
        std::string busSpeed = "tp1";
        takeOver("knxip-interface", knxIp.interface);
        takeOver("bus-speed", busSpeed);
        knxIp.speed = ToBusSpeed(busSpeed);
        if (given.count("knxip") != 0)
        {
            options.knxIp = knxIp;
        }
        for (const char* const option : {"knxip-interface", "bus-speed"})
        {
            Check(options.knxIp || given.count(option) == 0, std::string(option) + " needs --knxip");
        }

        Check(options.resetGpio >= 0 && options.resetGpio <= MaxGpio,
              "reset_gpio must be 0 to " + std::to_string(MaxGpio) + ", not " + std::to_string(options.resetGpio));
        if (options.mode == Options::Mode::Exec)
        {
            Check(given.arguments().size() == given.count("name"), first + " takes no other option than --name");
            Check(first == "shell" || !options.command.empty(), "exec needs a command behind --");
            Check(first == "exec" || options.command.empty(), "shell takes no command; exec does");
            if (first == "shell")
            {
                options.command = {UsersShell()};
            }
        }
    }
    catch (const cxxopts::exceptions::exception& rejected)
    {
        throw std::runtime_error(rejected.what());
    }
    return options;
}

} // namespace Simulator
