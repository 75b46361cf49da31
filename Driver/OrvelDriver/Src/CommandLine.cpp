#include "CommandLine.h"

#include "Revision.h"

#include <algorithm>
#include <cstring>
#include <iostream>

namespace OrvelDriver
{

namespace
{

// The parser's regular expressions take some 320 bytes of stack for each character. With the usual 8 MiB, an argument of
// 26,000 bytes ends in a crash.
constexpr std::size_t MaxArgument = 16384; // bytes

bool IsTooLong(const char* argument)
{
    return std::strlen(argument) > MaxArgument;
}

} // namespace

CommandLine::CommandLine()
    : ledNames{{0, "prg1"}, {1, "prg2"}, {2, "system"}, {3, "knx"}, {4, "rs485termination"}}
    , progButtonQueues{"/progButton"}
    , options("orvel", "ORVEL userspace driver\n")
{
    // The default of the GPIO is skipped from the text instead of appended to it: with 3 the line begins with "ber of".
    // The help is visible output that scripts compare, so it stays that way.
    const std::string resetGpioHelp = "Number of the GPIO pin that is connected to the STM32 reset line, default is: ";

    // No option gets a default from the parser: whether an option occurs decides, and the defaults live in the members.
    // clang-format off
    options.add_options()
        ("h,help", "Print this help message and exit.", cxxopts::value<bool>())
        ("v,version", "Print version information.", cxxopts::value<bool>())
        ("l,log_config_file", "Specify the log configuration file.", cxxopts::value<std::string>())
        ("d,device", "Use this device for serial communication, default is: " + device, cxxopts::value<std::string>())
        ("e,enable_rs485", "Enable control of RS485 termination via led.", cxxopts::value<bool>())
        ("r,led_knx_red_name", "Name for virtual device for red KNX led, default is: " + ledNames[0],
            cxxopts::value<std::string>())
        ("y,led_knx_yellow_name", "Name for virtual device for yellow KNX led, default is: " + ledNames[1],
            cxxopts::value<std::string>())
        ("g,led_green_name", "Name for virtual device for green device led (top), default is: " + ledNames[2],
            cxxopts::value<std::string>())
        ("o,led_orange_name", "Name for virtual device for orange device led (bottom), default is: " + ledNames[3],
            cxxopts::value<std::string>())
        ("p,prog_button_message_queue",
            "One or multiple message queues on which programming button events shall be provided, "
            "repeat for multiple, default is: " + progButtonQueues[0],
            cxxopts::value<std::vector<std::string>>())
        ("s,led_rs485_termination_name",
            "Name for virtual device that represents the RS485 termination setting, default is: " + ledNames[4],
            cxxopts::value<std::string>())
        ("n,reset_gpio", resetGpioHelp.substr(static_cast<std::size_t>(resetGpio)), cxxopts::value<int>());
    // clang-format on
}

bool CommandLine::Parse(int argc, const char* const* argv)
{
    // The program's own name is not parsed, and may be missing.
    if (argc > 1 && std::any_of(argv + 1, argv + argc, &IsTooLong))
    {
        std::cout << "Argument of more than " << MaxArgument << " bytes" << std::endl;
        return false;
    }
    try
    {
        const cxxopts::ParseResult given = options.parse(argc, argv);
        const auto takeOver = [&given](const char* option, auto& setting)
        {
            if (given.count(option) != 0)
            {
                setting = given[option].as<std::decay_t<decltype(setting)>>();
            }
        };

        // The three switches count by presence: "--help=false" prints the help too.
        const auto switchOn = [&given](const char* option, bool& setting)
        {
            if (given.count(option) != 0)
            {
                setting = true;
            }
        };

        switchOn("help", help);
        switchOn("version", version);
        takeOver("led_knx_red_name", ledNames[0]);
        takeOver("led_knx_yellow_name", ledNames[1]);
        takeOver("led_green_name", ledNames[2]);
        takeOver("led_orange_name", ledNames[3]);
        takeOver("prog_button_message_queue", progButtonQueues);
        takeOver("led_rs485_termination_name", ledNames[4]);
        takeOver("log_config_file", logConfigFile);
        switchOn("enable_rs485", enableRs485);
        takeOver("reset_gpio", resetGpio);
        // "device" is accepted and without effect: start scripts pass it, and the link's port is wired on the board.
    }
    catch (const cxxopts::exceptions::exception& rejected)
    {
        std::cout << rejected.what() << std::endl;
        return false;
    }
    return true;
}

void CommandLine::PrintHelp() const
{
    std::cout << options.help() << std::endl;
}

void CommandLine::PrintVersion() const
{
    std::cout << "Version " << BuildRevision << std::endl;
}

} // namespace OrvelDriver
