#include "Send.h"

#include "CommandLine.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "FrameSender.h"
#include "Input.h"
#include "Message.h"

#include <cstdint>

namespace OrvelClient
{

namespace
{

void SendLine(FrameSender& sender, const std::string& line)
{
    // An empty line or a comment is no frame, and nothing wrong.
    if (const Bytes frame = FrameFromText(line); !frame.empty())
    {
        sender.Send(frame);
    }
}

Status Send(const SendOptions& options)
{
    const StopSignals stop;
    FrameSender sender(options.bus, stop, options.wait);
    if (!options.digits.empty())
    {
        std::string digits;
        for (const std::string& part : options.digits)
        {
            digits += (digits.empty() ? "" : " ") + part;
        }
        sender.Send(FrameFromText(digits));
        return Status::Done;
    }
    LineInput input(stop);
    std::string line;
    while (input.Next(line))
    {
        try
        {
            SendLine(sender, line);
        }
        catch (const Failure& failure)
        {
            throw Failure(failure.ExitStatus(), "line " + std::to_string(input.Number()) + ": " + failure.what());
        }
    }
    if (!input.HasEnded())
    {
        throw Failure(Status::Interrupted, "stopped before the end of the input");
    }
    return Status::Done;
}

constexpr std::chrono::milliseconds DefaultWait{0};

} // namespace

SendOptions::SendOptions(const CommandLine& line)
    : digits(line.Arguments())
    , wait(TakeWait(line, DefaultWait))
    , bus(TakeBus(line))
{
}

Command SendCommand()
{
    return {"send",
            "HEX",
            "send a frame to the bus, or each line of standard input",
            "[OPTION...] [HEX...]",
            "Sends the frame to the bus. Without HEX, each line of standard input is a frame.",
            WithBusOptions({WaitOption(DefaultWait)}),
            SIZE_MAX,
            Prepare<SendOptions, Send>};
}

} // namespace OrvelClient
