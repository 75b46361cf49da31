#include "CommonOptions.h"

#include "GatewaySocket.h"

#include "Orvel/Gateway.h"

#include <cstdlib>

namespace OrvelClient
{

namespace
{

constexpr int64_t MaxWait = 86400000;            // ms: a day
constexpr uint64_t MaxNumber = 1000000000000000; // more than anybody will wait for

} // namespace

void AddTime(Arguments::Parser& parser, TimeStamp& timeStamp)
{
    parser.Choice<TimeStamp>("-t,--time", timeStamp,
                             {{"absolute", TimeStamp::Absolute},
                              {"relative", TimeStamp::Relative},
                              {"delta", TimeStamp::Delta},
                              {"date", TimeStamp::Date}},
                             "Time stamps: absolute (seconds since 1970), relative (to the first message), delta (to "
                             "the one before) or date "
                             "(as in the daemon's lines), default is: absolute");
}

void LookOptions::AddTo(Arguments::Parser& parser)
{
    parser.Choice<Color>("--color", color, {{"auto", Color::Auto}, {"always", Color::Always}, {"never", Color::Never}},
                         "Colours: auto (on a terminal), always or never, default is: auto");
    parser.Flag("--wide", wide, "Show whole lines also where the terminal is too narrow for them.");
}

Look LookOn(const Output& output, const LookOptions& options)
{
    const auto variable = [](const char* name)
    {
        const char* const value = std::getenv(name);
        return std::string(value == nullptr ? "" : value);
    };
    const bool isTerminal = output.IsTerminal();
    const std::string kind = variable("TERM");
    const bool canColor = isTerminal && variable("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
    Look look;
    look.color = options.color == LookOptions::Color::Always || (options.color == LookOptions::Color::Auto && canColor);
    look.terminal = isTerminal && !options.wide ? &output : nullptr;
    return look;
}

void AddNumber(Arguments::Parser& parser, uint64_t& number, const std::string& what)
{
    parser.Number<uint64_t>("-n,--number", number, 1, MaxNumber, "End after so many " + what + ".");
}

void AddPrint(Arguments::Parser& parser, bool& print)
{
    parser.Flag("--print", print, "Show the frame, as 'send' reads it, instead of sending it.");
}

void AddSocket(Arguments::Parser& parser, BusOptions& bus)
{
    bus.socket = ORVEL_GATEWAY_SOCKET;
    parser.Option(
        "--socket",
        [&bus](const std::string& path)
        {
            if (path.empty() || path.size() > GatewaySocket::MaxPath)
            {
                throw Arguments::Wrong("takes a path of 1 to " + std::to_string(GatewaySocket::MaxPath) + " bytes");
            }
            bus.socket = path;
            bus.named = true;
        },
        "The socket of the gateway, default is: " ORVEL_GATEWAY_SOCKET);
}

void AddBus(Arguments::Parser& parser, BusOptions& bus)
{
    AddSocket(parser, bus);
    parser.Flag("--direct", bus.direct, "Use the daemon's queue, even where a gateway runs.");
    parser.Exclude({"--socket", "--direct"});
}

void AddWait(Arguments::Parser& parser, std::chrono::milliseconds& wait)
{
    AddMilliseconds(parser, "--wait", wait, 0, MaxWait, "Wait so many milliseconds for room");
}

void AddMilliseconds(Arguments::Parser& parser, const std::string& name, std::chrono::milliseconds& time, int64_t least,
                     int64_t most, const std::string& text)
{
    parser.Option(
        name,
        [&time, least, most](const std::string& value)
        { time = std::chrono::milliseconds(Arguments::NumberIn(value, least, most)); },
        text + ", default is: " + std::to_string(time.count()));
}

} // namespace OrvelClient
