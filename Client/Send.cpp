#include "Send.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "Failure.h"
#include "FrameSender.h"
#include "Input.h"
#include "Message.h"
#include "Pace.h"

#include "Knx/CemiMessage.h"

#include <cstdint>
#include <optional>

namespace OrvelClient
{

namespace
{

// Sends frames at the pace that is wanted, and waits for their confirmations where these are.
class Sender
{
public:
    Sender(const StopSignals& stopSignals, const SendOptions& sendOptions)
        : options(sendOptions)
        , stop(stopSignals)
        , sender(options.bus, stop, options.wait)
    {
        if (options.confirm)
        {
            conversation.emplace(options.bus, stop, options.wait);
        }
        if (options.rate)
        {
            pace.emplace(*options.rate);
        }
    }

    void Send(const Bytes& frame)
    {
        if (pace && stop.AwaitUntil(pace->Due(Pace::Clock::now())))
        {
            throw Failure(Status::Interrupted, "stopped before it was sent");
        }
        if (!conversation)
        {
            sender.Send(frame);
            return;
        }
        FrameSender::CheckLength(frame);
        if (frame.front() != static_cast<uint8_t>(Knx::MessageCode::LDataReq))
        {
            throw Failure(Status::WrongOption, "--confirm is for L_Data.req: nothing confirms another frame");
        }
        conversation->SendConfirmed(frame);
    }

private:
    const SendOptions& options;
    const StopSignals& stop;
    FrameSender sender;
    std::optional<Conversation> conversation;
    std::optional<Pace> pace;
};

void SendLine(Sender& sender, const std::string& line)
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
    Sender sender(stop, options);
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

} // namespace

void SendOptions::AddTo(Arguments::Parser& parser)
{
    parser.Each("HEX", [this](const std::string& part) { digits.push_back(part); });
    parser.Flag("--confirm", confirm, "Wait until the bus has each frame, and fail where it has not.");
    parser.Number<double>("--rate", rate, Pace::Slowest, Pace::Fastest, "Send at most so many frames a second.");
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command SendCommand()
{
    return {"send",
            "HEX",
            "send a frame to the bus, or each line of standard input",
            "[OPTION...] [HEX...]",
            "Sends the frame to the bus. Without HEX, each line of standard input is a frame.\n"
            "\n"
            "  orvelctl send --confirm 11 00 bc e0 00 00 0a 03 01 00 81\n"
            "  orvelctl send --rate 10 --wait 1000 <frames",
            Define<SendOptions, Send>};
}

} // namespace OrvelClient
