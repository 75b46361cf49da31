#include "Button.h"

#include "CommandLine.h"
#include "CommonOptions.h"
#include "Message.h"
#include "QueueReader.h"

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
    QueueReader reader(options.queue, stop, output);
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

std::string QueueName(const CommandLine& line)
{
    std::string name = line.TextOr(ORVEL_PROG_BUTTON_QUEUE, "queue");
    if (!Queue::IsName(name))
    {
        Reject("--queue takes a name that begins with / and has no other, not '" + name + "'");
    }
    return name;
}

} // namespace

ButtonOptions::ButtonOptions(const CommandLine& line)
    : queue(QueueName(line))
    , timeStamp(TakeTimeStamp(line))
    , number(TakeNumber(line))
{
}

Command ButtonCommand()
{
    return {"button",
            "",
            "show when the programming button is pressed and released",
            "[OPTION...]",
            "Shows when the programming button is pressed and released.",
            {{"queue", "The queue of the button, default is: " ORVEL_PROG_BUTTON_QUEUE},
             TimeOption(),
             NumberOption("messages")},
            0,
            Prepare<ButtonOptions, Button>};
}

} // namespace OrvelClient
