#include "CommandLine.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxArgument = 4096; // bytes; the parser takes stack for each

// No option begins with a digit: these are numbers, such as the value of "write 1/2/3 -5". The parser would take them for
// options, unless they begin with something else.
constexpr char Mark = '\x01';

bool IsNegativeNumber(const std::string& argument)
{
    return argument.size() > 1 && argument[0] == '-' &&
           std::string(".0123456789").find(argument[1]) != std::string::npos;
}

std::vector<std::string> Marked(int argc, const char* const* argv)
{
    std::vector<std::string> arguments(argv, argv + argc);
    for (std::string& argument : arguments)
    {
        argument.insert(0, IsNegativeNumber(argument) ? 1 : 0, Mark);
    }
    return arguments;
}

std::vector<std::string> Unmarked(std::vector<std::string> arguments)
{
    for (std::string& argument : arguments)
    {
        const bool isMarked = !argument.empty() && argument.front() == Mark;
        argument.erase(0, isMarked ? 1 : 0);
    }
    return arguments;
}

cxxopts::Options Definitions(const Command& command)
{
    cxxopts::Options definitions(std::string("orvelctl ") + command.name, std::string(command.description) + "\n");
    definitions.custom_help(command.usage);
    definitions.add_options()("h,help", "Print this help message and exit.");
    for (const Option& option : command.options)
    {
        switch (option.kind)
        {
        case Option::Kind::Flag:
            definitions.add_options()(option.names, option.text);
            break;
        case Option::Kind::Value:
            definitions.add_options()(option.names, option.text, cxxopts::value<std::string>());
            break;
        case Option::Kind::Values:
            definitions.add_options()(option.names, option.text, cxxopts::value<std::vector<std::string>>());
            break;
        }
    }
    return definitions;
}

std::vector<std::string> ValuesOf(const cxxopts::OptionValue& given, Option::Kind kind)
{
    switch (kind)
    {
    case Option::Kind::Value:
        return {given.as<std::string>()};
    case Option::Kind::Values:
        return given.as<std::vector<std::string>>();
    default:
        return {};
    }
}

} // namespace

void Reject(const std::string& why)
{
    throw Failure(Status::WrongOption, why);
}

CommandLine::CommandLine(const Command& command, int argc, const char* const* argv)
{
    if (std::any_of(argv, argv + argc, [](const char* argument) { return std::strlen(argument) > MaxArgument; }))
    {
        Reject("argument of more than " + std::to_string(MaxArgument) + " bytes");
    }
    try
    {
        cxxopts::Options definitions = Definitions(command);
        const std::vector<std::string> marked = Marked(argc, argv);
        std::vector<const char*> pointers;
        std::transform(marked.begin(), marked.end(), std::back_inserter(pointers),
                       [](const std::string& argument) { return argument.c_str(); });
        const cxxopts::ParseResult given = definitions.parse(argc, pointers.data());
        if (given.count("help") != 0)
        {
            help = definitions.help();
            return;
        }
        for (const Option& option : command.options)
        {
            const std::string name = option.names.substr(option.names.find(',') + 1);
            if (given.count(name) != 0)
            {
                values[name] = Unmarked(ValuesOf(given[name], option.kind));
            }
        }
        arguments = Unmarked(given.unmatched());
    }
    catch (const cxxopts::exceptions::exception& rejected)
    {
        Reject(rejected.what());
    }
    if (arguments.size() > command.maxArguments)
    {
        Reject("'" + arguments[command.maxArguments] + "' is not understood");
    }
}

} // namespace OrvelClient
