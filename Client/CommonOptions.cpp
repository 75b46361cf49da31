#include "CommonOptions.h"

#include "CommandLine.h"
#include "GatewaySocket.h"

#include "Orvel/Gateway.h"

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
            "Time stamps: absolute (seconds since 1970), relative (to the first message) or delta (to the one "
            "before), default is: absolute"};
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
    if (name != "delta")
    {
        Reject("--time is absolute, relative or delta, not '" + name + "'");
    }
    return TimeStamp::Delta;
}

Option NumberOption(const std::string& what)
{
    return {"n,number", "End after so many " + what + "."};
}

uint64_t TakeNumber(const CommandLine& line)
{
    return line.NumberOr<uint64_t>(0, "number", 1, MaxNumber);
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
