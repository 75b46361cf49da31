#include "CommandLine.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <cstring>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxArgument = 4096; // bytes; the parser takes stack for each

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
        const cxxopts::ParseResult given = definitions.parse(argc, argv);
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
                values[name] = ValuesOf(given[name], option.kind);
            }
        }
        arguments = given.unmatched();
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
