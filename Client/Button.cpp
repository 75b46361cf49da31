#include "Button.h"

#include "BusReader.h"
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
    BusReader reader(bus, stop, output, [&output](const std::string& text) { Notice(output, text); });
    TimeStamper stamper(options.timeStamp);
    for (uint64_t count = 0; options.number == 0 || count < options.number; ++count)
    {
        const auto message = reader.Next();
        if (!message)
        {
            stop.RequireAll(count, options.number);
            return Status::Done;
        }
        output.Write(std::string(stamper.Stamp(Now())) + " " + Word(*message) + "\n");
    }
    return Status::Done;
}

} // namespace

void ButtonOptions::AddTo(Arguments::Parser& parser)
{
    bus.buttonQueue = ORVEL_PROG_BUTTON_QUEUE;
    parser.Option(
        "--queue",
        [this](const std::string& name)
        {
            if (!Queue::IsName(name))
            {
                throw Arguments::Wrong("takes a name that begins with / and has no other, not '" + name + "'");
            }
            bus.buttonQueue = name;
            bus.direct = true; // the gateway has the button from one queue, maybe another
        },
        "This queue of the button, not the gateway, default is: " ORVEL_PROG_BUTTON_QUEUE);
    AddTime(parser, timeStamp);
    AddNumber(parser, number, "messages");
    AddBus(parser, bus);
    parser.Exclude({"--queue", "--socket"});
}

Command ButtonCommand()
{
    return {"button",
            "",
            "show when the programming button is pressed and released",
            "[OPTION...]",
            "Shows when the programming button is pressed and released.\n"
            "\n"
            "  orvelctl button\n"
            "  orvelctl button -n 1 --time date",
            Define<ButtonOptions, Button>};
}

} // namespace OrvelClient
