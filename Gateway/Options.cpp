#include "Options.h"

#include "Failure.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>

namespace OrvelGateway
{

namespace
{

constexpr std::size_t MaxArgument = 4096; // bytes; the parser takes stack for each
constexpr std::size_t MaxPrograms = 1000; // fewer than a process may usually have descriptors
constexpr double LeastTimeout = 0.1;      // s
constexpr double MostTimeout = 3600;      // s

// The parser is the one of all programs here: whoever knows the options of one knows how those of the others are written.
cxxopts::Options Definitions()
{
    cxxopts::Options definitions("orvel-gateway", "Gives the bus to many programs at once.\n");
    definitions.custom_help("[OPTION...]");
    // clang-format off
    definitions.add_options()
        ("h,help", "Print this help message and exit.")
        ("v,version", "Print version and revision and exit.")
        ("l,log_config_file", "Specify the log configuration file.", cxxopts::value<std::string>())
        ("socket", "Serve programs at this path unless the service manager passes a socket, "
            "default is: " ORVEL_GATEWAY_SOCKET, cxxopts::value<std::string>())
        ("clients", "Serve so many programs at once, default is: 64", cxxopts::value<std::string>())
        ("confirm-timeout", "Refuse a request that the link does not confirm within so many seconds, default is: 3",
            cxxopts::value<std::string>())
        ("button-queue", "The queue of the programming button, default is: " ORVEL_PROG_BUTTON_QUEUE,
            cxxopts::value<std::string>());
    // clang-format on
    return definitions;
}

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::WrongOption, why);
}

using Given = cxxopts::ParseResult;

std::string TextOr(const std::string& otherwise, const Given& given, const char* option)
{
    return given.count(option) != 0 ? given[option].as<std::string>() : otherwise;
}

template<typename Number>
Number NumberOr(Number otherwise, const Given& given, const char* option, Number least, Number most,
                const std::string& takes)
{
    if (given.count(option) == 0)
    {
        return otherwise;
    }
    const auto text = given[option].as<std::string>();
    const char* const end = text.data() + text.size();
    Number number{};
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || !(number >= least && number <= most))
    {
        Reject(std::string("--") + option + " takes " + takes + ", not '" + text + "'");
    }
    return number;
}

std::string QueueName(const Given& given, const std::string& otherwise)
{
    std::string name = TextOr(otherwise, given, "button-queue");
    if (name.size() < 2 || name.size() > NAME_MAX + 1 || name.rfind('/') != 0)
    {
        Reject("--button-queue takes a name that begins with / and has no other, not '" + name + "'");
    }
    return name;
}

Given Parse(cxxopts::Options& definitions, int argc, const char* const* argv)
{
    if (std::any_of(argv, argv + argc, [](const char* argument) { return std::strlen(argument) > MaxArgument; }))
    {
        Reject("argument of more than " + std::to_string(MaxArgument) + " bytes");
    }
    try
    {
        Given given = definitions.parse(argc, argv);
        if (!given.unmatched().empty())
        {
            Reject("'" + given.unmatched()[0] + "' is not understood");
        }
        return given;
    }
    catch (const cxxopts::exceptions::exception& rejected)
    {
        Reject(rejected.what());
    }
}

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    cxxopts::Options definitions = Definitions();
    const Given given = Parse(definitions, argc, argv);
    Options options;
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
    options.socket = TextOr(options.socket, given, "socket");
    options.buttonQueue = QueueName(given, options.buttonQueue);
    options.logConfigFile = TextOr("", given, "log_config_file");
    options.hub.programs = NumberOr<std::size_t>(options.hub.programs, given, "clients", 1, MaxPrograms, "1 to 1000");
    const std::chrono::duration<double> timeout(
        NumberOr(std::chrono::duration<double>(options.hub.confirmTimeout).count(), given, "confirm-timeout",
                 LeastTimeout, MostTimeout, "0.1 to 3600 seconds"));
    options.hub.confirmTimeout = std::chrono::round<std::chrono::milliseconds>(timeout);
    return options;
}

} // namespace OrvelGateway
