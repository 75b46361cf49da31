#include "CommonOptions.h"

#include "CommandLine.h"
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

Option TimeOption()
{
    return {"t,time",
            "Time stamps: absolute (seconds since 1970), relative (to the first message), delta (to the one before) or "
            "date (as in the daemon's lines), default is: absolute"};
}

TimeStamp TakeTimeStamp(const CommandLine& line)
{
    const std::string name = line.TextOr("absolute", "time");
    if (name == "absolute")
    {
        return TimeStamp::Absolute;
    }
    if (name == "relative")
    {
        return TimeStamp::Relative;
    }
    if (name == "delta")
    {
        return TimeStamp::Delta;
    }
    if (name != "date")
    {
        Reject("--time is absolute, relative, delta or date, not '" + name + "'");
    }
    return TimeStamp::Date;
}

std::vector<Option> WithLookOptions(std::vector<Option> options)
{
    options.push_back({"color", "Colours: auto (on a terminal), always or never, default is: auto"});
    options.push_back({"wide", "Show whole lines also where the terminal is too narrow for them.", Option::Kind::Flag});
    return options;
}

LookOptions TakeLook(const CommandLine& line)
{
    using Color = LookOptions::Color;
    const std::string color = line.TextOr("auto", "color");
    if (color != "auto" && color != "always" && color != "never")
    {
        Reject("--color is auto, always or never, not '" + color + "'");
    }
    return {color == "auto" ? Color::Auto : color == "always" ? Color::Always : Color::Never, line.Has("wide")};
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

Option NumberOption(const std::string& what)
{
    return {"n,number", "End after so many " + what + "."};
}

uint64_t TakeNumber(const CommandLine& line)
{
    return line.NumberOr<uint64_t>(0, "number", 1, MaxNumber);
}

Option PrintOption()
{
    return {"print", "Show the frame, as 'send' reads it, instead of sending it.", Option::Kind::Flag};
}

Option SocketOption()
{
    return {"socket", "The socket of the gateway, default is: " ORVEL_GATEWAY_SOCKET};
}

BusOptions TakeSocket(const CommandLine& line)
{
    BusOptions options;
    options.socket = line.TextOr(ORVEL_GATEWAY_SOCKET, "socket");
    options.named = line.Has("socket");
    if (options.socket.empty() || options.socket.size() > GatewaySocket::MaxPath)
    {
        Reject("--socket takes a path of 1 to " + std::to_string(GatewaySocket::MaxPath) + " bytes");
    }
    return options;
}

std::vector<Option> WithBusOptions(std::vector<Option> options)
{
    options.push_back(SocketOption());
    options.push_back({"direct", "Use the daemon's queue, even where a gateway runs.", Option::Kind::Flag});
    return options;
}

BusOptions TakeBus(const CommandLine& line)
{
    BusOptions options = TakeSocket(line);
    options.direct = line.Has("direct");
    if (options.named && options.direct)
    {
        Reject("--socket and --direct cannot go together");
    }
    return options;
}

Option WaitOption(std::chrono::milliseconds otherwise)
{
    return {"wait", "Wait so many milliseconds for room, default is: " + std::to_string(otherwise.count())};
}

std::chrono::milliseconds TakeWait(const CommandLine& line, std::chrono::milliseconds otherwise)
{
    return std::chrono::milliseconds(line.NumberOr<int64_t>(otherwise.count(), "wait", 0, MaxWait));
}

} // namespace OrvelClient
