#include "Send.h"

#include "Failure.h"
#include "FrameSender.h"
#include "Input.h"
#include "Message.h"

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

} // namespace

void Send(const SendOptions& options)
{
    const StopSignals stop;
    FrameSender sender(stop, options.wait);
    if (!options.digits.empty())
    {
        std::string digits;
        for (const std::string& part : options.digits)
        {
            digits += (digits.empty() ? "" : " ") + part;
        }
        sender.Send(FrameFromText(digits));
        return;
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
}

} // namespace OrvelClient
