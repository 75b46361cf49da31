#include "Options.h"

#include "Failure.h"
#include "Version.h"

#include "Arguments/Parser.h"

#include <climits>

namespace OrvelGateway
{

namespace
{

constexpr std::size_t MaxPrograms = 1000; // fewer than a process may usually have descriptors
constexpr double LeastTimeout = 0.1;      // s
constexpr double MostTimeout = 3600;      // s

std::string QueueNameIn(const std::string& text)
{
    if (text.size() < 2 || text.size() > NAME_MAX + 1 || text.rfind('/') != 0)
    {
        throw Arguments::Wrong("takes a name that begins with / and has no other, not '" + text + "'");
    }
    return text;
}

std::chrono::milliseconds TimeoutIn(const std::string& text)
{
    const std::chrono::duration<double> timeout(Arguments::NumberIn(text, LeastTimeout, MostTimeout, " seconds"));
    return std::chrono::round<std::chrono::milliseconds>(timeout);
}

void AddNetwork(Arguments::Parser& parser, Network::Settings& settings)
{
    parser.Option(
        "--knxip", [&settings](const std::string& text) { settings.place = Knx::ParseMulticastPlace(text); },
        "Join the bus to KNXnet/IP routing: INTERFACE, or INTERFACE/GROUP where the multicast group is not "
        "224.0.23.12. "
        "Whoever reaches this network can use the bus.");
    parser.Option(
        "--from-ip", [&settings](const std::string& text) { settings.routing.fromNetwork = Knx::GroupRanges(text); },
        "Let only these groups pass from the network to the bus: 1/2/0-255,3/1/7,4/*");
    parser.Option(
        "--to-ip", [&settings](const std::string& text) { settings.routing.toNetwork = Knx::GroupRanges(text); },
        "Let only these groups pass from the bus to the network.");
    parser.Flag("--programming", settings.routing.programming,
                "With --knxip: let telegrams to one device and broadcasts pass too, which program devices.");
    for (const char* const option : {"--from-ip", "--to-ip", "--programming"})
    {
        parser.Need(option, "--knxip");
    }
}

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    Options options;
    Network::Settings network;
    Arguments::Parser parser("orvel-gateway", "[OPTION...]", "Gives the bus to many programs at once.");
    parser.Version(OrvelVersion::VersionText("orvel-gateway"));
    parser.Option("-l,--log_config_file", options.logConfigFile, "Specify the log configuration file.");
    parser.Option("--socket", options.socket,
                  "Serve programs at this path unless the service manager passes a socket, "
                  "default is: " ORVEL_GATEWAY_SOCKET);
    parser.Number<std::size_t>("--clients", options.hub.programs, 1, MaxPrograms,
                               "Serve so many programs at once, default is: 64");
    parser.Option(
        "--confirm-timeout", [&options](const std::string& text) { options.hub.confirmTimeout = TimeoutIn(text); },
        "Refuse a request that the link does not confirm within so many seconds, default is: 3");
    AddNetwork(parser, network);
    parser.Option("--metrics", options.metrics,
                  "Write numbers for a monitoring system to this file every 10 s: OpenMetrics.");
    parser.Option(
        "--button-queue", [&options](const std::string& text) { options.buttonQueue = QueueNameIn(text); },
        "The queue of the programming button, default is: " ORVEL_PROG_BUTTON_QUEUE);
    try
    {
        if (const auto text = parser.Parse(argc, argv))
        {
            options.print = *text; // and nothing else: the other options were not looked at
            return options;
        }
    }
    catch (const Arguments::Wrong& wrong)
    {
        throw Failure(Status::WrongOption, wrong.what());
    }
    if (parser.Has("--knxip"))
    {
        options.network = network;
    }
    return options;
}

} // namespace OrvelGateway
