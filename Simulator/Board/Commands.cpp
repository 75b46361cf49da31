#include "Commands.h"

#include "TypedTelegram.h"

#include <algorithm>
#include <csignal>
#include <sstream>

using namespace std::string_literals;

namespace Simulator
{

namespace
{

constexpr std::size_t MaxPause = 3600; // seconds

std::string WithoutMargin(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

} // namespace

std::string Commands::Execute(const std::string& line)
{
    std::istringstream words(line);
    std::string name;
    std::string rest;
    words >> name;
    std::getline(words, rest);
    rest = WithoutMargin(rest);

    if (name.empty())
    {
        return "";
    }
    if (name == "telegram" || name == "read")
    {
        return InjectTelegram(name, rest);
    }
    if (name == "restart" || name == "kill")
    {
        return RestartDaemon(name, rest);
    }
    if (!rest.empty())
    {
        return "'" + name + "' takes no argument, or is no command; 'help' lists them";
    }
    if (name == "press" || name == "release")
    {
        const bool changed = coProcessor.SetButton(name == "press");
        return changed ? "" : "the button is "s + (name == "press" ? "pressed" : "released") + " already";
    }
    if (name == "plug" || name == "unplug")
    {
        const bool changed = coProcessor.SetPlugged(name == "plug");
        return changed ? "" : "the serial line is "s + (name == "plug" ? "plugged in" : "pulled") + " already";
    }
    if (name == "help")
    {
        return Help();
    }
    if (name == "mute")
    {
        coProcessor.Hang();
    }
    else if (name == "quit")
    {
        quitRequested = true;
    }
    else
    {
        return "'" + name + "' is no command; 'help' lists them";
    }
    return "";
}

std::string Commands::Help()
{
    return "press                        press the programming button\n"
           "release                      let it go\n"
           "telegram GROUP VALUE [TYPE]  a telegram from KNX, such as 1/2/3 21.5 9.001\n"
           "telegram HEX                 a cEMI frame: 29 00 bc e0 11 01 0a 03 01 00 81\n"
           "read GROUP                   a telegram from KNX that asks for a value\n"
           "unplug                       pull the serial line\n"
           "plug                         plug it in again\n"
           "mute                         let the co-processor hang until it is reset\n"
           "restart [S]                  end the daemon with SIGINT, start it again after S s\n"
           "kill [S]                     the same with SIGKILL\n"
           "quit                         stop the daemon and the board\n"
           "help                         this list";
}

std::string Commands::InjectTelegram(const std::string& command, const std::string& typed)
{
    try
    {
        coProcessor.InjectTelegram(command == "read" ? ReadFrom(typed, groups) : TelegramFrom(typed, groups));
        return "";
    }
    catch (const NotATelegram& problem)
    {
        return problem.what();
    }
}

std::string Commands::RestartDaemon(const std::string& command, const std::string& pause) const
{
    if (!restart)
    {
        return "'" + command + "' needs a daemon, and there is none here";
    }
    const bool isNumber =
        pause.size() <= std::to_string(MaxPause).size() &&
        std::all_of(pause.begin(), pause.end(), [](char digit) { return digit >= '0' && digit <= '9'; });
    const unsigned long seconds = isNumber && !pause.empty() ? std::stoul(pause) : 0;
    if (!isNumber || seconds > MaxPause)
    {
        return "'" + command + "' takes a pause of 0 to " + std::to_string(MaxPause) + " seconds, or nothing";
    }
    return restart(command == "kill" ? SIGKILL : SIGINT, std::chrono::seconds(seconds));
}

} // namespace Simulator
