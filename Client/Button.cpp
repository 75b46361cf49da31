#include "Button.h"

#include "Message.h"
#include "QueueReader.h"

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

} // namespace

void Button(const ButtonOptions& options)
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
            return;
        }
        output.Write(stamper.Stamp(Now()) + " " + Word(*message) + "\n");
    }
}

} // namespace OrvelClient
