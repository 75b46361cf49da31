#include "DaemonSettings.h"

#include "Orvel/Protocol.h"

#include <cxxopts.hpp>

#include <array>
#include <fstream>

namespace OrvelClient
{

namespace
{

struct LedOption
{
    const char* names;
    const char* name; // of the LED, unless the option gives another
};

constexpr std::array<LedOption, 4> LedOptions{{{"r,led_knx_red_name", "prg1"},
                                               {"y,led_knx_yellow_name", "prg2"},
                                               {"g,led_green_name", "system"},
                                               {"o,led_orange_name", "knx"}}};
constexpr LedOption Termination{"s,led_rs485_termination_name", "rs485termination"};

std::string LongName(const char* names)
{
    return std::string(names).substr(2);
}

std::string NameOf(const LedOption& led, const cxxopts::ParseResult& given)
{
    const std::string option = LongName(led.names);
    return given.count(option) != 0 ? given[option].as<std::string>() : led.name;
}

// All options that take a value are here, or the values of some would be taken for options.
cxxopts::Options Definitions()
{
    cxxopts::Options definitions("orvel");
    definitions.allow_unrecognised_options();
    definitions.add_options()("l,log_config_file", "", cxxopts::value<std::string>());
    definitions.add_options()("d,device", "", cxxopts::value<std::string>());
    definitions.add_options()("n,reset_gpio", "", cxxopts::value<std::string>());
    definitions.add_options()("e,enable_rs485", "");
    definitions.add_options()("p,prog_button_message_queue", "", cxxopts::value<std::vector<std::string>>());
    definitions.add_options()(Termination.names, "", cxxopts::value<std::string>());
    for (const LedOption& led : LedOptions)
    {
        definitions.add_options()(led.names, "", cxxopts::value<std::string>());
    }
    return definitions;
}

cxxopts::ParseResult Parse(cxxopts::Options& definitions, const std::vector<std::string>& commandLine)
{
    std::vector<const char*> arguments{"orvel"}; // the parser needs a name, and does not look at it
    for (std::size_t index = 1; index < commandLine.size(); ++index)
    {
        arguments.push_back(commandLine[index].c_str());
    }
    try
    {
        return definitions.parse(static_cast<int>(arguments.size()), arguments.data());
    }
    catch (const cxxopts::exceptions::exception&)
    {
        return definitions.parse(1, arguments.data()); // the daemon ends with such a line
    }
}

} // namespace

DaemonSettings SettingsOf(const std::vector<std::string>& commandLine)
{
    cxxopts::Options definitions = Definitions();
    const cxxopts::ParseResult given = Parse(definitions, commandLine);
    DaemonSettings settings;
    for (const LedOption& led : LedOptions)
    {
        settings.leds.push_back(NameOf(led, given));
    }
    if (given.count("enable_rs485") != 0)
    {
        settings.leds.push_back(NameOf(Termination, given));
    }
    const char* const queues = "prog_button_message_queue";
    settings.buttonQueues = given.count(queues) != 0 ? given[queues].as<std::vector<std::string>>()
                                                     : std::vector<std::string>{ORVEL_PROG_BUTTON_QUEUE};
    return settings;
}

std::vector<std::string> CommandLineOf(const std::string& processId)
{
    std::ifstream file("/proc/" + processId + "/cmdline");
    std::vector<std::string> arguments;
    for (std::string argument; std::getline(file, argument, '\0');)
    {
        arguments.push_back(argument);
    }
    return arguments;
}

} // namespace OrvelClient
