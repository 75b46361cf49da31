#include "Button.h"

#include "BusReader.h"
#include "CommandLine.h"
#include "CommonOptions.h"
#include "Message.h"
#include "Queue.h"

#include "Orvel/Protocol.h"

namespace OrvelClient
{

namespace
{

std::string Word(const Bytes& message)
{
    if (message == Bytes{ORVEL_PROG_BUTTON_PRESSED})
    {
        return "pressed";
    }
    if (message == Bytes{ORVEL_PROG_BUTTON_RELEASED})
    {
        return "released";
    }
    return "! " + (message.empty() ? "no byte" : Knx::ToHex(message)) + " is no state of a button";
}

Status Button(const ButtonOptions& options)
{
    const StopSignals stop;
    Output output;
    Bus bus(options.bus, Bus::For::Button, stop);
    BusReader reader(bus, stop, output);
    TimeStamper stamper(options.timeStamp);
    for (uint64_t count = 0; options.number == 0 || count < options.number; ++count)
    {
        const auto message = reader.Next();
        if (!message)
        {
            stop.RequireAll(count, options.number);
            return Status::Done;
        }
        output.Write(stamper.Stamp(Now()) + " " + Word(*message) + "\n");
    }
    return Status::Done;
}

BusOptions TakeButtonBus(const CommandLine& line)
{
    BusOptions options = TakeBus(line);
    options.buttonQueue = line.TextOr(ORVEL_PROG_BUTTON_QUEUE, "queue");
    if (!Queue::IsName(options.buttonQueue))
    {
        Reject("--queue takes a name that begins with / and has no other, not '" + options.buttonQueue + "'");
    }
    if (line.Has("queue") && options.named)
    {
        Reject("--queue and --socket cannot go together");
    }
    options.direct = options.direct || line.Has("queue"); // the gateway has the button from one queue, maybe another
    return options;
}

} // namespace

ButtonOptions::ButtonOptions(const CommandLine& line)
    : bus(TakeButtonBus(line))
    , timeStamp(TakeTimeStamp(line))
    , number(TakeNumber(line))
{
}

Command ButtonCommand()
{
    return {
        "button",
        "",
        "show when the programming button is pressed and released",
        "[OPTION...]",
        "Shows when the programming button is pressed and released.",
        WithBusOptions({{"queue", "This queue of the button, not the gateway, default is: " ORVEL_PROG_BUTTON_QUEUE},
                        TimeOption(),
                        NumberOption("messages")}),
        0,
        Prepare<ButtonOptions, Button>};
}

} // namespace OrvelClient
